// The settings of the server: their pending and current values, what the user edited, and what the
// registry's dependencies make of that.

import { because, decide, matchesPattern } from "./dependency_decision.js";
import { RegistryDependencies } from "./registry_dependencies.js";
import { settingText } from "./registry_value.js";

function typeOf(value) {
  return typeof value === "boolean" ? "Boolean" : typeof value === "number" ? "Integer" : "String";
}

// A setting that the registry does not describe.
function undescribed(name, value) {
  return { name, index: null, type: typeOf(value), menuPath: "", choices: [], isUnique: false, order: null };
}

// The names of the registry's attributes as members of "Attributes": the second of a name is NAME_2.
function memberNames(registry) {
  const count = new Map();
  return registry.attributes.map(({ name }) => {
    const number = (count.get(name) ?? 0) + 1;
    count.set(name, number);
    return number === 1 ? name : `${name}_${number}`;
  });
}

export class Settings {
  #rules;
  #nameOf;
  #decision = { refusals: [], changes: [] };
  #edits = new Map();
  #dependent = new Map();

  /** All settings, in the registry's order: {name, index, type, menuPath, choices, ...}. */
  list = [];
  byName = new Map();
  pending = {};
  current = {};
  /** Edited settings whose pending values others changed meanwhile: the values before. */
  conflicts = new Map();
  /** Why the service refused the edits, by setting: lists of texts. */
  refusals = new Map();

  constructor(registry) {
    this.registry = registry;
    this.#rules = new RegistryDependencies(registry);
    this.#nameOf = (attribute) => this.#rules.property(attribute, "DisplayName") ||
      registry.attributes[attribute].name;
    this.names = memberNames(registry);
  }

  /** Takes the values that the service has, each time of the same settings; edits that it has already
   * are no longer edits. Returns the names of the settings whose pending values are others than
   * before. */
  take({ pending = this.pending, current = this.current }) {
    const before = this.pending;
    const isFirst = this.list.length === 0;
    this.pending = pending;
    this.current = current;
    if (isFirst) {
      this.#listSettings();
    }
    const changed = [];
    for (const { name } of this.list) {
      if (!isFirst && before[name] !== pending[name]) {
        changed.push(name);
        if (this.#edits.has(name)) {
          this.conflicts.set(name, before[name]);
        }
      }
    }
    for (const [name, value] of [...this.#edits]) {
      if (pending[name] === value) {
        this.#forget(name);
      }
    }
    this.#rules.undo();
    this.#rules.load(this.list
      .filter(({ name, index }) => index !== null && pending[name] !== null)
      .map(({ name, index }) => ({ attribute: index, value: pending[name] })));
    this.#rules.keep();
    this.#evaluate();
    return changed;
  }

  // The settings that have a value, in the registry's order, and then those that it does not have.
  #listSettings() {
    const known = new Set();
    this.list = [];
    this.registry.attributes.forEach((attribute, index) => {
      const name = this.names[index];
      if (Object.hasOwn(this.pending, name)) {
        known.add(name);
        this.list.push({ name, index, type: attribute.type, menuPath: attribute.menuPath,
          choices: attribute.choices, isUnique: attribute.isSystemUnique });
      }
    });
    for (const [name, value] of Object.entries(this.pending)) {
      if (!known.has(name)) {
        this.list.push(undescribed(name, value));
      }
    }
    this.byName = new Map(this.list.map((setting) => [setting.name, setting]));
  }

  // Edits in the order of the registry, so that equal edits have equal results.
  #evaluate() {
    this.#rules.undo();
    const edited = [...this.#edits].filter(([name, value]) =>
      this.byName.get(name).index !== null && value !== null);
    const commands = edited.map(([name, value]) => ({ attribute: this.byName.get(name).index, value }));
    this.#decision = decide(this.#rules, commands, this.#nameOf);
    this.#dependent = new Map();
    for (const change of this.#decision.changes) {
      const name = this.names[change.attribute];
      if (change.cause !== null && this.byName.has(name) && !this.#edits.has(name)) {
        this.#dependent.set(name, this.#rules.conditionText(change.cause, this.#nameOf));
      }
    }
    this.forbidden = new Map();
    edited.forEach(([name], i) => {
      if (this.#decision.refusals[i] !== "") {
        this.forbidden.set(name, this.#decision.refusals[i]);
      }
    });
  }

  // --- edits

  /** {name: value} of the settings that were edited. */
  get edits() {
    return this.#edits;
  }

  #forget(name) {
    this.#edits.delete(name);
    this.conflicts.delete(name);
    this.refusals.delete(name);
  }

  #put(name, value) {
    this.refusals.delete(name);
    if (value === this.pending[name]) {
      this.#forget(name);
    } else {
      this.#edits.set(name, value);
    }
  }

  edit(name, value) {
    this.#put(name, value);
    this.#evaluate();
  }

  /** Several at once, as [name, value]. */
  editAll(values) {
    values.forEach(([name, value]) => this.#put(name, value));
    this.#evaluate();
  }

  discard() {
    this.#edits.clear();
    this.conflicts.clear();
    this.refusals.clear();
    this.#evaluate();
  }

  /** The service took these values, {name: value}: they are no longer edits, unless they were edited
   * again. To be followed by `take`: the values that the service shows may be others, as of a password. */
  forgetSaved(values) {
    for (const [name, value] of Object.entries(values)) {
      if (this.#edits.get(name) === value) {
        this.#forget(name);
      }
    }
  }

  /** The settings that dependencies change because of the edits, with the reason. */
  get dependent() {
    return this.#dependent;
  }

  // --- what a setting looks like

  /** A property of a setting as the dependencies make it with the edits. */
  property(setting, which) {
    return setting.index === null ? null : this.#rules.property(setting.index, which);
  }

  displayName(setting) {
    return this.property(setting, "DisplayName") || setting.name;
  }

  /** The value that a control shows: the edit, or the one that is or becomes pending. */
  value(setting) {
    if (this.#edits.has(setting.name)) {
      return this.#edits.get(setting.name);
    }
    return this.#dependent.has(setting.name)
      ? this.property(setting, "CurrentValue")
      : this.pending[setting.name];
  }

  isPending(setting) {
    return this.pending[setting.name] !== this.current[setting.name];
  }

  isChanged(setting) {
    return this.#edits.has(setting.name) || this.#dependent.has(setting.name) || this.isPending(setting);
  }

  isAtDefault(setting) {
    const initial = this.property(setting, "DefaultValue");
    return initial === null || this.value(setting) === initial;
  }

  isHidden(setting) {
    return this.property(setting, "Hidden") === true;
  }

  /** Why the user cannot edit a setting; empty if that is possible. */
  lockedBecause(setting) {
    for (const [property, what] of [["ReadOnly", "Read-only"], ["Immutable", "Cannot be changed"],
      ["GrayOut", "Not available"]]) {
      if (this.property(setting, property) === true) {
        return because(this.#rules, setting.index, property, what, this.#nameOf);
      }
    }
    return "";
  }

  /** Texts of a value for a person. */
  shownValue(setting, value) {
    if (setting.type === "Password") {
      return value === null || value === undefined ? "not shown" : "••••••••";
    }
    if (value === null || value === undefined) {
      return "no value";
    }
    if (typeof value === "boolean") {
      return value ? "On" : "Off";
    }
    const choice = setting.choices.find(({ name }) => name === value);
    return choice?.displayName || settingText(value) || "empty";
  }

  /** The same in quotes, unless there is none. */
  quotedValue(setting, value) {
    const shown = this.shownValue(setting, value);
    const isText = setting.type !== "Password" && value !== null && value !== undefined && value !== "";
    return isText ? `“${shown}”` : shown;
  }

  /** What a value has to be like, for a person; empty if anything is allowed. */
  allowedValues(setting) {
    const lower = this.property(setting, "LowerBound");
    const upper = this.property(setting, "UpperBound");
    const step = this.property(setting, "ScalarIncrement");
    if (setting.type === "Integer") {
      const range = lower !== null && upper !== null ? `${lower} to ${upper}`
        : lower !== null ? `at least ${lower}` : upper !== null ? `at most ${upper}` : "";
      return range + (step > 1 ? `${range === "" ? "" : ", "}in steps of ${step}` : "");
    }
    if (setting.type !== "String" && setting.type !== "Password") {
      return "";
    }
    const least = this.property(setting, "MinLength") ?? 0;
    const most = this.property(setting, "MaxLength") ?? 0;
    const length = least > 0 && most > 0 ? `${least} to ${most} characters`
      : most > 0 ? `at most ${most} characters` : least > 0 ? `at least ${least} characters` : "";
    const pattern = this.property(setting, "ValueExpression") || "";
    return length + (pattern === "" ? "" : `${length === "" ? "" : ", "}pattern ${pattern}`);
  }

  /** Why the service would refuse a value, as far as that is certain; empty if it is not. */
  problemOf(setting, value) {
    if (value === null || value === undefined || value === this.pending[setting.name] ||
        value === this.property(setting, "DefaultValue")) {
      return "";
    }
    if (setting.type === "Integer") {
      return typeof value === "number" ? this.#problemOfNumber(setting, value) : "Enter a whole number.";
    }
    if (setting.type === "Boolean") {
      return typeof value === "boolean" ? "" : "Must be on or off.";
    }
    if (typeof value !== "string") {
      return "Must be a text.";
    }
    return setting.type === "Enumeration" ? this.#problemOfChoice(setting, value)
      : this.#problemOfText(setting, value);
  }

  #problemOfNumber(setting, value) {
    const lower = this.property(setting, "LowerBound");
    const upper = this.property(setting, "UpperBound");
    const step = this.property(setting, "ScalarIncrement");
    if (!Number.isSafeInteger(value) || (lower !== null && value < lower) || (upper !== null && value > upper)) {
      return `Outside the range. Allowed: ${this.allowedValues(setting) || "whole numbers"}.`;
    }
    if (step > 1 && (value - (lower ?? 0)) % step !== 0) {
      return `Not on a step. Allowed: ${this.allowedValues(setting)}.`;
    }
    return "";
  }

  #problemOfChoice(setting, value) {
    // A list selection is written as its items.
    const isList = value.includes(",") || value.startsWith("[");
    return setting.choices.length === 0 || isList || setting.choices.some(({ name }) => name === value)
      ? "" : `Not one of the choices: ${setting.choices.map(({ name }) => name).slice(0, 20).join(", ")}.`;
  }

  #problemOfText(setting, value) {
    const least = this.property(setting, "MinLength") ?? 0;
    const most = this.property(setting, "MaxLength") ?? 0;
    const length = Array.from(value).length;
    if (length < least) {
      return `Too short: ${length} of at least ${least} characters.`;
    }
    if (most > 0 && length > most) {
      return `Too long: ${length} of at most ${most} characters.`;
    }
    return "";
  }

  /** Whether a text seems not to match the pattern. The service decides: its dialect is another. */
  mayDifferFromPattern(setting, value) {
    const pattern = this.property(setting, "ValueExpression") || "";
    return typeof value === "string" && pattern !== "" && value !== this.pending[setting.name] &&
      matchesPattern(pattern, value) === false;
  }

  /** The edits that cannot be saved, as [setting, reason]. */
  problems() {
    const found = [];
    for (const [name, value] of this.#edits) {
      const setting = this.byName.get(name);
      const reason = this.problemOf(setting, value);
      if (reason !== "") {
        found.push([setting, reason]);
      }
    }
    return found;
  }
}
