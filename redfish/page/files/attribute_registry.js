// Reads an AttributeRegistry by the rules of service_api/attribute_registry.hpp: what is wrong is
// ignored, and so are dependencies that cannot be evaluated. A number where a text belongs is taken as
// JavaScript writes it: 7.0 is "7".

import { CONDITIONS, settingText, truthNamed, wholeNumberIn } from "./registry_value.js";

// What the values of each property are.
const PROPERTIES = new Map([
  ["CurrentValue", "value"],
  ["DefaultValue", "value"],
  ["ReadOnly", "flag"],
  ["WriteOnly", "flag"],
  ["GrayOut", "flag"],
  ["Hidden", "flag"],
  ["Immutable", "flag"],
  ["HelpText", "text"],
  ["WarningText", "text"],
  ["DisplayName", "text"],
  ["DisplayOrder", "number"],
  ["LowerBound", "number"],
  ["UpperBound", "number"],
  ["MinLength", "number"],
  ["MaxLength", "number"],
  ["ScalarIncrement", "number"],
  ["ValueExpression", "text"],
]);

const TYPES = new Set(["Enumeration", "String", "Integer", "Boolean", "Password"]);

function isObject(value) {
  return value !== null && typeof value === "object" && !Array.isArray(value);
}

function own(object, name) {
  return Object.hasOwn(object, name) ? object[name] : undefined;
}

function isReadable(property) {
  return PROPERTIES.get(property) !== "text" && property !== "Immutable" && property !== "DisplayOrder";
}

function truthOf(value) {
  return typeof value === "boolean" ? value : typeof value === "string" ? truthNamed(value) : null;
}

// A whole number: one of JSON without a fraction, or a text of digits.
function wholeNumberOf(value) {
  if (typeof value === "string") {
    return wholeNumberIn(value);
  }
  return Number.isInteger(value) && value >= -(2 ** 63) && value < 2 ** 63 ? value : null;
}

// A value that an attribute of this type can have; undefined when it cannot.
function valueFor(type, value) {
  if (type === "Boolean") {
    return truthOf(value) ?? undefined;
  }
  if (type === "Integer") {
    return wholeNumberOf(value) ?? undefined;
  }
  return typeof value === "string" || typeof value === "number" ? String(value) : undefined;
}

function textMember(object, name) {
  const value = own(object, name);
  return typeof value === "string" ? value : "";
}

function flagMember(object, name, missing) {
  return truthOf(own(object, name)) ?? missing;
}

function numberMember(object, name) {
  return wholeNumberOf(own(object, name));
}

function choicesOf(source, type) {
  const list = own(source, "Value");
  const choices = [];
  if (type === "Enumeration" && Array.isArray(list)) {
    for (const choice of list) {
      const name = isObject(choice) ? own(choice, "ValueName") : choice;
      if (typeof name === "string" || Number.isInteger(name)) {
        const displayName = isObject(choice) ? textMember(choice, "ValueDisplayName") : "";
        choices.push({ name: String(name), displayName });
      }
    }
  }
  return choices;
}

function propertyOf(source, type, property) {
  const value = own(source, property);
  switch (PROPERTIES.get(property)) {
    case "flag":
      return flagMember(source, property, false);
    case "text":
      return textMember(source, property);
    case "number":
      return numberMember(source, property);
    default:
      if (value === undefined || value === null || (value === "" && type !== "String")) {
        return null;
      }
      return valueFor(type, value) ?? null;
  }
}

function readAttribute(source) {
  if (!isObject(source) || typeof own(source, "AttributeName") !== "string" ||
      source.AttributeName === "" || !TYPES.has(own(source, "Type"))) {
    return null;
  }
  const type = source.Type;
  const properties = new Map();
  for (const property of PROPERTIES.keys()) {
    properties.set(property, propertyOf(source, type, property));
  }
  return {
    name: source.AttributeName,
    type,
    menuPath: textMember(source, "MenuPath"),
    choices: choicesOf(source, type),
    resetRequired: flagMember(source, "ResetRequired", true),
    isSystemUnique: flagMember(source, "IsSystemUniqueProperty", false),
    properties,
  };
}

function readMenu(source) {
  return {
    path: textMember(source, "MenuPath"),
    name: textMember(source, "MenuName"),
    displayName: textMember(source, "DisplayName"),
    displayOrder: numberMember(source, "DisplayOrder"),
    grayOut: flagMember(source, "GrayOut", false),
    hidden: flagMember(source, "Hidden", false),
    readOnly: flagMember(source, "ReadOnly", false),
  };
}

class DependencyReader {
  constructor(registry) {
    this.registry = registry;
  }

  // The dependency, or null when it cannot be evaluated.
  read(source) {
    const body = isObject(source) ? own(source, "Dependency") : undefined;
    const type = isObject(source) ? own(source, "Type") : undefined;
    if (!isObject(body) || (type !== undefined && type !== null && type !== "Map")) {
      return null;
    }
    const causeName = own(source, "DependencyFor") ?? null;
    const cause = causeName === null ? null : this.attributeNamed(causeName);
    const attribute = this.attributeNamed(own(body, "MapToAttribute"));
    const property = own(body, "MapToProperty");
    const from = own(body, "MapFrom");
    if (cause === undefined || attribute === undefined || !PROPERTIES.has(property) ||
        (property === "CurrentValue" && cause === null) || !Array.isArray(from) || from.length === 0) {
      return null;
    }
    const value = this.mapValue(own(body, "MapToValue"), attribute, property);
    const terms = value === undefined ? null : this.readTerms(from);
    return terms === null ? null : { cause, attribute, property, value, terms };
  }

  attributeNamed(name) {
    const index = typeof name === "string" ? this.registry.index.get(name) : undefined;
    return index ?? undefined;
  }

  mapValue(value, attribute, property) {
    const target = this.registry.attributes[attribute];
    switch (PROPERTIES.get(property)) {
      case "flag":
        return truthOf(value) ?? undefined;
      case "text":
        return value === null ? "" : typeof value === "string" ? value : undefined;
      case "number":
        return value === null ? null : wholeNumberOf(value) ?? undefined;
      default: {
        const read = valueFor(target.type, value);
        const isChoice = target.type !== "Enumeration" ||
          target.choices.some((choice) => choice.name === settingText(read ?? null));
        return isChoice ? read : undefined;
      }
    }
  }

  readTerms(list) {
    const terms = [];
    for (const source of list) {
      const term = isObject(source) ? this.readTerm(source) : null;
      if (term === null) {
        return null;
      }
      terms.push(term);
    }
    return terms;
  }

  readTerm(source) {
    const joined = own(source, "MapTerms") ?? "AND";
    if (joined !== "AND" && joined !== "OR" && joined !== "NOT") {
      return null;
    }
    const inner = own(source, "Subexpressions") ?? [];
    if (!Array.isArray(inner)) {
      return null;
    }
    if (inner.length > 0) {
      const terms = this.readTerms(inner);
      return terms === null ? null : { joined, terms };
    }
    const attribute = this.attributeNamed(own(source, "MapFromAttribute"));
    const property = own(source, "MapFromProperty") ?? "CurrentValue";
    const condition = own(source, "MapFromCondition");
    const value = own(source, "MapFromValue") ?? null;
    if (attribute === undefined || !PROPERTIES.has(property) || !isReadable(property) ||
        !CONDITIONS.has(condition) || typeof value === "object" && value !== null) {
      return null;
    }
    return { joined, terms: [], attribute, property, condition, value };
  }
}

/**
 * Reads the AttributeRegistry `root`: its attributes, menus and dependencies (`maps`), each list in
 * the registry's order. `index` has the position of each attribute by name, and null for a name that
 * several have. Without a list of attributes that have names and types, all lists are empty.
 */
export function readRegistry(root) {
  const registry = { id: "", version: "", attributes: [], menus: [], maps: [], index: new Map() };
  const entries = isObject(root) ? own(root, "RegistryEntries") : undefined;
  if (!isObject(entries) || !Array.isArray(own(entries, "Attributes"))) {
    return registry;
  }
  registry.id = textMember(root, "Id");
  registry.version = textMember(root, "RegistryVersion");
  const attributes = entries.Attributes.map(readAttribute);
  if (attributes.includes(null)) {
    return registry;
  }
  registry.attributes = attributes;
  attributes.forEach((attribute, i) => {
    registry.index.set(attribute.name, registry.index.has(attribute.name) ? null : i);
  });
  const list = (name) => (Array.isArray(own(entries, name)) ? entries[name] : []);
  registry.menus = list("Menus").filter(isObject).map(readMenu);
  const reader = new DependencyReader(registry);
  registry.maps = list("Dependencies").map((source) => reader.read(source)).filter((map) => map !== null);
  return registry;
}
