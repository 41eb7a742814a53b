// The control for a setting's value.

import { element } from "./dom.js";

const NO_VALUE = "\u0000";

function choiceText({ name, displayName }) {
  return displayName || name || "empty";
}

function makeSelect(setting, onEdit) {
  const select = element("select", {});
  let shown = [];
  const fill = (value) => {
    shown = [...setting.choices];
    const isKnown = shown.some(({ name }) => name === value);
    if (typeof value === "string" && !isKnown) {
      shown.unshift({ name: value, displayName: value });
    } else if (value === null) {
      shown.unshift({ name: NO_VALUE, displayName: "no value" });
    }
    select.replaceChildren(...shown.map((choice, i) =>
      element("option", { value: String(i) }, choiceText(choice))));
  };
  const positionOf = (value) => shown.findIndex(({ name }) => name === (value ?? NO_VALUE));
  select.addEventListener("change", () => {
    const chosen = shown[select.selectedIndex];
    onEdit(chosen === undefined || chosen.name === NO_VALUE ? null : chosen.name);
  });
  return {
    control: select,
    show: (value) => {
      if (positionOf(value) < 0) {
        fill(value);
      }
      select.selectedIndex = positionOf(value);
    },
  };
}

function makeNumber(onEdit) {
  const input = element("input", { type: "number", inputMode: "numeric", step: "1" });
  input.addEventListener("input", () => {
    const number = input.valueAsNumber;
    onEdit(Number.isInteger(number) ? number : input.value);
  });
  // Turning the wheel scrolls the page, also over a number.
  input.addEventListener("wheel", () => input.blur(), { passive: true });
  return {
    control: input,
    show: (value) => {
      const text = value === null ? "" : String(value);
      if (document.activeElement !== input || input.value === "" || Number(input.value) !== value) {
        // What was typed and is not a number stays.
        if (!(document.activeElement === input && typeof value === "string")) {
          input.value = text;
        }
      }
    },
    limit: ({ lower, upper, step }) => {
      input.min = lower === null ? "" : String(lower);
      input.max = upper === null ? "" : String(upper);
      input.step = step > 1 ? String(step) : "1";
    },
  };
}

function makeCheckbox(onEdit) {
  const input = element("input", { type: "checkbox", class: "switch" });
  const word = element("span", { class: "switch-word", "aria-hidden": "true" });
  input.addEventListener("change", () => onEdit(input.checked));
  return {
    control: input,
    extra: word,
    show: (value) => {
      input.checked = value === true;
      input.indeterminate = value !== true && value !== false;
      word.textContent = value === true ? "On" : value === false ? "Off" : "No value";
    },
  };
}

function makeText(isPassword, onEdit) {
  const input = element("input", { type: isPassword ? "password" : "text", spellcheck: false,
    autocomplete: isPassword ? "new-password" : "off", autocapitalize: "none" });
  input.addEventListener("input", () => {
    // An empty field leaves the password as it is.
    onEdit(isPassword && input.value === "" ? null : input.value);
  });
  return {
    control: input,
    show: (value) => {
      if (isPassword) {
        input.value = typeof value === "string" ? value : "";
        input.placeholder = "unchanged, not shown";
        return;
      }
      if (input.value !== String(value ?? "")) {
        input.value = String(value ?? "");
      }
      input.placeholder = value === null ? "no value" : "";
    },
  };
}

/**
 * The control for a setting: {control, extra, show(value), limit({lower, upper, step})}; `extra`,
 * an element after the control, and `limit` only for some types. `onEdit` gets the value that the
 * user chose: a text if a number was expected and is none, null for no value.
 */
export function makeValueInput(setting, onEdit) {
  switch (setting.type) {
    case "Enumeration":
      return makeSelect(setting, onEdit);
    case "Integer":
      return makeNumber(onEdit);
    case "Boolean":
      return makeCheckbox(onEdit);
    default:
      return makeText(setting.type === "Password", onEdit);
  }
}
