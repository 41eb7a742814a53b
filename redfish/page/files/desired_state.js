// Desired states: files with values that settings are to have, as dpctl reads and writes them.

import { truthNamed, wholeNumberIn } from "./registry_value.js";

/** Greatest size of a file in bytes. */
export const SIZE_LIMIT = 16 * 1024 * 1024;

function isObject(value) {
  return value !== null && typeof value === "object" && !Array.isArray(value);
}

function parseLines(text, state) {
  text.split("\n").forEach((raw, i) => {
    const line = raw.endsWith("\r") ? raw.slice(0, -1) : raw;
    if (line.trim() === "" || line.trimStart().startsWith("#")) {
      return;
    }
    const equals = line.indexOf("=");
    const name = line.substring(0, equals).trim();
    if (equals < 0 || name === "") {
      state.problems.push(`Line ${i + 1}: is not NAME=VALUE.`);
    } else {
      state.entries.push({ name, value: line.substring(equals + 1), isTyped: false, mayRemain: false });
    }
  });
}

function parseObject(text, state) {
  let root;
  try {
    root = JSON.parse(text);
  } catch (problem) {
    state.problems.push(`The file is not JSON: ${problem.message}.`);
    return;
  }
  if (!isObject(root) || !isObject(root.Attributes)) {
    state.problems.push("The file has no object \"Attributes\".");
    return;
  }
  for (const member of ["RegistryVersion", "BuildId"]) {
    state[member] = typeof root[member] === "string" ? root[member] : "";
  }
  const take = (values, mayRemain) => {
    const members = isObject(values) ? values : {};
    for (const [name, value] of Object.entries(members)) {
      // Browsers send UTF-8 only.
      if (Object.hasOwn(members, `${name}_bytes`)) {
        state.problems.push(`${name}: its value is not UTF-8; use dpctl apply.`);
      } else if (name.endsWith("_bytes") && Object.hasOwn(members, name.slice(0, -6))) {
        continue;
      } else if (value === null || typeof value === "object") {
        state.problems.push(`${name}: a list, an object or null is no value.`);
      } else {
        state.entries.push({ name, value, isTyped: true, mayRemain });
      }
    }
  };
  take(root.Attributes, false);
  take(root.ReadOnlyAttributes, true);
}

/** Reads the text of a file: {entries, problems, RegistryVersion, BuildId}. */
export function parseState(text) {
  const state = { entries: [], problems: [], RegistryVersion: "", BuildId: "" };
  const content = text.startsWith("\ufeff") ? text.substring(1) : text;
  if (/^[{[]/.test(content.trimStart())) {
    parseObject(content, state);
  } else {
    parseLines(content, state);
  }
  return state;
}

// The setting of a name that may have its collection, and an instance after another dot.
function findSetting(settings, name) {
  const joined = name.replaceAll(".", "_");
  const bare = name.substring(name.indexOf(".") + 1);
  for (const candidate of [name, joined, bare, bare.replaceAll(".", "_")]) {
    if (settings.byName.has(candidate)) {
      return settings.byName.get(candidate);
    }
  }
  return null;
}

// A choice in the spelling of the registry: the case of letters does not matter when just one fits.
function choiceNamed(setting, text) {
  if (setting.choices.some(({ name }) => name === text)) {
    return text;
  }
  const lower = text.toLowerCase();
  const fitting = setting.choices.filter(({ name }) => name.toLowerCase() === lower);
  return fitting.length === 1 ? fitting[0].name : text;
}

// The value as the setting has it; undefined when it is of the wrong kind.
function convert(setting, { value, isTyped }) {
  switch (setting.type) {
    case "Boolean":
      return typeof value === "boolean" ? value
        : typeof value === "string" ? truthNamed(value) ?? undefined : undefined;
    case "Integer": {
      if (typeof value === "number") {
        return Number.isInteger(value) ? value : undefined;
      }
      return typeof value === "string" ? wholeNumberIn(value) ?? undefined : undefined;
    }
    case "Enumeration":
      return typeof value === "boolean" ? undefined : choiceNamed(setting, String(value));
    default:
      return isTyped && typeof value !== "string" ? undefined : value;
  }
}

/**
 * What it takes to bring the settings to a state: `changes` as {setting, from, to, note}; `same`, how many
 * have the value already; `remaining`, the settings that cannot be changed and may remain; `problems`
 * and `warnings`, texts.
 */
export function planState(state, settings, server) {
  const plan = { changes: [], same: 0, remaining: [], problems: [...state.problems], warnings: [] };
  if (state.RegistryVersion !== "" && state.RegistryVersion !== server.registryVersion) {
    plan.warnings.push(`The state was made from a server with the registry version ` +
      `${state.RegistryVersion}; this one has ${server.registryVersion || "none"}.`);
  }
  if (state.BuildId !== "" && server.buildId !== "" && state.BuildId !== server.buildId) {
    plan.warnings.push(`The state was made from a server with the BIOS ${state.BuildId}; this one has ` +
      `${server.buildId}.`);
  }
  const seen = new Set();
  for (const entry of state.entries) {
    const setting = findSetting(settings, entry.name);
    if (setting === null) {
      plan.problems.push(`${entry.name}: this server has no such setting.`);
      continue;
    }
    if (seen.has(setting.name)) {
      plan.problems.push(`${entry.name}: is given twice.`);
      continue;
    }
    seen.add(setting.name);
    const to = convert(setting, entry);
    const from = settings.pending[setting.name];
    if (to === undefined) {
      plan.problems.push(`${entry.name}: ${JSON.stringify(entry.value)} is not a value of this setting.`);
    } else if (to === from) {
      ++plan.same;
    } else if (settings.problemOf(setting, to) !== "") {
      plan.problems.push(`${entry.name}: ${JSON.stringify(to)}. ${settings.problemOf(setting, to)}`);
    } else if (entry.mayRemain && isLockedNow(settings, setting)) {
      plan.remaining.push(setting);
    } else {
      const note = isLockedNow(settings, setting) ? "Read-only unless another of these changes permits it." : "";
      plan.changes.push({ setting, from, to, note });
    }
  }
  return plan;
}

function isLockedNow(settings, setting) {
  return settings.property(setting, "ReadOnly") === true || settings.property(setting, "Immutable") === true;
}

function isAlwaysReadOnly(settings, setting) {
  const properties = settings.registry.attributes[setting.index]?.properties;
  return properties?.get("ReadOnly") === true || properties?.get("Immutable") === true;
}

/** The pending values as a desired state. Settings that identify the server, passwords and read-only
 * ones are left out; those that dependencies make read-only are apart. */
export function exportState(settings, server) {
  const state = {};
  if (server.registryVersion !== "") {
    state.RegistryVersion = server.registryVersion;
  }
  if (server.buildId !== "") {
    state.BuildId = server.buildId;
  }
  state.Attributes = {};
  const fixed = {};
  for (const setting of settings.list) {
    const value = settings.pending[setting.name];
    const isLeftOut = setting.isUnique || setting.type === "Password" || isAlwaysReadOnly(settings, setting);
    if (value !== null && !isLeftOut) {
      (isLockedNow(settings, setting) ? fixed : state.Attributes)[setting.name] = value;
    }
  }
  if (Object.keys(fixed).length > 0) {
    state.ReadOnlyAttributes = fixed;
  }
  return `${JSON.stringify(state, null, 1)}\n`;
}
