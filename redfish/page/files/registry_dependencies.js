// The values of all attributes of a registry, and what its dependencies make of them: the rules of
// service_api/registry_dependencies.hpp, which this module follows function by function.
//
// A dependency of a current value acts when the attribute named in DependencyFor changes: if its
// condition holds then, it sets the value, which may make others act. Each acts at most once in a
// batch of changes. A dependency of another property changes it as long as its condition holds. Of
// several that hold for one property the last in the registry wins.

import { CONDITIONS, holds, settingText } from "./registry_value.js";

const MOST_ROUNDS = 100;

function forEachComparison(terms, use) {
  for (const term of terms) {
    if (term.terms.length > 0) {
      forEachComparison(term.terms, use);
    } else {
      use(term);
    }
  }
}

function push(map, key, value) {
  const list = map.get(key);
  if (list === undefined) {
    map.set(key, [value]);
  } else {
    list.push(value);
  }
}

// The strongly connected components of a graph, each after those that it has edges to: Tarjan's
// algorithm, without recursion.
function findComponents(edges) {
  const order = new Array(edges.length).fill(0);
  const low = new Array(edges.length).fill(0);
  const isOpen = new Array(edges.length).fill(false);
  const stack = [];
  const components = [];
  let count = 0;
  const open = (node, path) => {
    order[node] = low[node] = ++count;
    isOpen[node] = true;
    stack.push(node);
    path.push({ node, next: 0 });
  };
  const close = (node) => {
    const component = [];
    let member;
    do {
      member = stack.pop();
      isOpen[member] = false;
      component.push(member);
    } while (member !== node);
    components.push(component.sort((a, b) => a - b));
  };
  for (let start = 0; start < edges.length; ++start) {
    const path = [];
    if (order[start] === 0) {
      open(start, path);
    }
    while (path.length > 0) {
      const frame = path[path.length - 1];
      const { node } = frame;
      if (frame.next < edges[node].length) {
        const to = edges[node][frame.next++];
        if (order[to] === 0) {
          open(to, path);
        } else if (isOpen[to]) {
          low[node] = Math.min(low[node], order[to]);
        }
        continue;
      }
      path.pop();
      if (path.length > 0) {
        const above = path[path.length - 1].node;
        low[above] = Math.min(low[above], low[node]);
      }
      if (low[node] === order[node]) {
        close(node);
      }
    }
  }
  return components;
}

export class RegistryDependencies {
  // Properties other than current values that dependencies change are cells: {attribute, property,
  // maps, readers, cycle, winner}, where the winner is the map that holds, or null. Cells that depend
  // on each other are a cycle, and determined together.
  #registry;
  #values;
  #cells = [];
  #cellIndex = new Map();
  #cycles = [];
  #valueReaders = new Map();
  #acting = new Map();
  #marked = new Set();
  #journal = [];

  /** Starts with the registry's default values where there is one, and current values elsewhere. */
  constructor(registry) {
    this.#registry = registry;
    this.#values = registry.attributes.map(
      (attribute) => attribute.properties.get("DefaultValue") ?? attribute.properties.get("CurrentValue"),
    );
    this.#addCells();
    this.#findCycles();
    this.#cells.forEach((cell) => this.#marked.add(cell.cycle));
    this.#determineMarked();
    this.keep();
  }

  #addCells() {
    this.#registry.maps.forEach((map, i) => {
      if (map.property === "CurrentValue") {
        push(this.#acting, map.cause, i);
        return;
      }
      const key = `${map.attribute} ${map.property}`;
      let cell = this.#cellIndex.get(key);
      if (cell === undefined) {
        cell = { number: this.#cells.length, attribute: map.attribute, property: map.property, maps: [],
          readers: [], cycle: 0, winner: null };
        this.#cells.push(cell);
        this.#cellIndex.set(key, cell);
      }
      cell.maps.push(i);
    });
  }

  #findCycles() {
    const reads = this.#cells.map(() => []);
    for (const cell of this.#cells) {
      for (const map of cell.maps) {
        forEachComparison(this.#registry.maps[map].terms, (term) => {
          if (term.property === "CurrentValue") {
            push(this.#valueReaders, term.attribute, cell);
            return;
          }
          const read = this.#cellIndex.get(`${term.attribute} ${term.property}`);
          if (read !== undefined) {
            reads[cell.number].push(read.number);
            read.readers.push(cell);
          }
        });
      }
    }
    this.#cycles = findComponents(reads).map((numbers, cycle) => {
      const cells = numbers.map((number) => this.#cells[number]);
      cells.forEach((cell) => { cell.cycle = cycle; });
      return { cells, isCyclic: cells.length > 1 || reads[numbers[0]].includes(numbers[0]) };
    });
  }

  /** A property as the dependencies make it. */
  property(attribute, which) {
    if (which === "CurrentValue") {
      return this.#values[attribute];
    }
    const map = this.cause(attribute, which);
    return map === null ? this.#registry.attributes[attribute].properties.get(which) : map.value;
  }

  /** The dependency that a property other than the current value has its value from, or null. */
  cause(attribute, which) {
    const winner = this.#cellIndex.get(`${attribute} ${which}`)?.winner ?? null;
    return winner === null ? null : this.#registry.maps[winner];
  }

  #holdsAll(terms) {
    let result = true;
    let isFirst = true;
    for (const term of terms) {
      const isOr = term.joined === "OR" && !isFirst;
      isFirst = false;
      if (isOr ? result : !result) {
        continue;
      }
      const truth = term.terms.length > 0
        ? this.#holdsAll(term.terms)
        : holds(term.condition, this.property(term.attribute, term.property), term.value);
      result = truth !== (term.joined === "NOT");
    }
    return result;
  }

  #winnerOf(cell) {
    return cell.maps.findLast((map) => this.#holdsAll(this.#registry.maps[map].terms)) ?? null;
  }

  // Cycles are determined in their order: what one reads is determined before it.
  #determineMarked() {
    while (this.#marked.size > 0) {
      let first = Infinity;
      for (const cycle of this.#marked) {
        first = Math.min(first, cycle);
      }
      this.#marked.delete(first);
      this.#determine(first);
    }
  }

  #determine(number) {
    const { cells, isCyclic } = this.#cycles[number];
    const before = cells.map((cell) => cell.winner);
    if (isCyclic) {
      cells.forEach((cell) => { cell.winner = null; });
    }
    let hasChanged = true;
    for (let round = 0; hasChanged && round < (isCyclic ? MOST_ROUNDS : 1); ++round) {
      hasChanged = false;
      for (const cell of cells) {
        const winner = this.#winnerOf(cell);
        hasChanged = hasChanged || winner !== cell.winner;
        cell.winner = winner;
      }
    }
    cells.forEach((cell, i) => {
      if (cell.winner === before[i]) {
        return;
      }
      this.#journal.push({ cell, winner: before[i] });
      for (const reader of cell.readers) {
        if (reader.cycle !== number) {
          this.#marked.add(reader.cycle);
        }
      }
    });
  }

  #setValue(attribute, value) {
    this.#journal.push({ attribute, value: this.#values[attribute] });
    this.#values[attribute] = value;
    for (const cell of this.#valueReaders.get(attribute) ?? []) {
      this.#marked.add(cell.cycle);
    }
  }

  /** Sets values, a list of {attribute, value}, without making any dependency act. */
  load(values) {
    for (const { attribute, value } of values) {
      if (this.#values[attribute] !== value) {
        this.#setValue(attribute, value);
      }
    }
    this.#determineMarked();
  }

  /**
   * Assigns values together and makes dependencies act. Returns the values that are different
   * afterwards, by attribute: {attribute, before, cause}, where the cause is the dependency that set
   * the value, and null for one that was assigned.
   */
  assign(values) {
    const touched = new Map();
    const wanted = new Map(values.map(({ attribute, value }) => [attribute, value]));
    let changed = [];
    const inOrder = (map) => [...map].sort((a, b) => a[0] - b[0]);
    for (const [attribute, value] of inOrder(wanted)) {
      if (this.#values[attribute] !== value) {
        touched.set(attribute, { attribute, before: this.#values[attribute], cause: null });
        this.#setValue(attribute, value);
        changed.push(attribute);
      }
    }
    this.#determineMarked();
    const acted = new Set();
    while (changed.length > 0) {
      // All that act now see the same values; the last one of an attribute wins.
      const winners = new Map();
      for (const cause of changed) {
        for (const index of this.#acting.get(cause) ?? []) {
          const map = this.#registry.maps[index];
          if (!acted.has(index) && this.#holdsAll(map.terms)) {
            acted.add(index);
            winners.set(map.attribute, Math.max(winners.get(map.attribute) ?? 0, index));
          }
        }
      }
      changed = [];
      for (const [attribute, index] of inOrder(winners)) {
        const map = this.#registry.maps[index];
        if (this.#values[attribute] !== map.value) {
          if (!touched.has(attribute)) {
            touched.set(attribute, { attribute, before: this.#values[attribute], cause: null });
          }
          touched.get(attribute).cause = map;
          this.#setValue(attribute, map.value);
          changed.push(attribute);
        }
      }
      this.#determineMarked();
    }
    return inOrder(touched)
      .map(([, change]) => change)
      .filter((change) => this.#values[change.attribute] !== change.before);
  }

  /** Takes back everything since the last `keep`, or since construction. */
  undo() {
    for (const entry of this.#journal.reverse()) {
      if (entry.cell === undefined) {
        this.#values[entry.attribute] = entry.value;
      } else {
        entry.cell.winner = entry.winner;
      }
    }
    this.#journal = [];
  }

  /** Keeps everything: `undo` does not take it back any more. */
  keep() {
    this.#journal = [];
  }

  /** The condition of a dependency for a person: "WorkloadProfile is not Custom". */
  conditionText(map, nameOf = (attribute) => this.#registry.attributes[attribute].name) {
    return this.#termsText(map.terms, nameOf).replace(/[\u0000-\u001f]/g, " ");
  }

  #termsText(terms, nameOf) {
    let text = "";
    for (const term of terms) {
      if (text !== "") {
        text += term.joined === "OR" ? " or " : " and ";
      }
      text += term.joined === "NOT" ? "not " : "";
      if (term.terms.length > 0) {
        text += `(${this.#termsText(term.terms, nameOf)})`;
        continue;
      }
      text += term.property === "CurrentValue" ? "" : `${term.property} of `;
      text += nameOf(term.attribute) + CONDITIONS.get(term.condition);
      text += settingText(term.value) || "empty";
    }
    return text;
  }
}
