// Which of several changes the dependencies of a registry allow: the rules of
// service_api/dependency_decision.hpp.

import { settingText } from "./registry_value.js";

// The value of a property if a dependency determines it and it has this type.
function mapped(rules, attribute, property, type) {
  const value = rules.property(attribute, property);
  return rules.cause(attribute, property) !== null && typeof value === type ? value : null;
}

/** What is wrong, with the condition of the dependency that makes it so. */
export function because(rules, attribute, property, what, nameOf) {
  const cause = rules.cause(attribute, property);
  return cause === null ? what : `${what} because ${rules.conditionText(cause, nameOf)}`;
}

function whyNumberForbidden(rules, attribute, number, nameOf) {
  const lower = mapped(rules, attribute, "LowerBound", "number");
  if (lower !== null && number < lower) {
    return because(rules, attribute, "LowerBound", `below the lower bound ${lower}`, nameOf);
  }
  const upper = mapped(rules, attribute, "UpperBound", "number");
  if (upper !== null && number > upper) {
    return because(rules, attribute, "UpperBound", `above the upper bound ${upper}`, nameOf);
  }
  const step = mapped(rules, attribute, "ScalarIncrement", "number");
  const lowest = rules.property(attribute, "LowerBound") ?? 0;
  if (step !== null && step > 0 && (BigInt(number) - BigInt(lowest)) % BigInt(step) !== 0n) {
    return because(rules, attribute, "ScalarIncrement", `not on a step of ${step}`, nameOf);
  }
  return "";
}

function whyTextForbidden(rules, attribute, text, nameOf) {
  const length = Array.from(text).length;
  const least = mapped(rules, attribute, "MinLength", "number");
  if (least !== null && length < least) {
    return because(rules, attribute, "MinLength", `shorter than ${least} characters`, nameOf);
  }
  const most = mapped(rules, attribute, "MaxLength", "number");
  if (most !== null && most !== 0 && length > most) {
    return because(rules, attribute, "MaxLength", `longer than ${most} characters`, nameOf);
  }
  return "";
}

/** Whether a text matches a registry's pattern; null when the pattern is not one of JavaScript. */
export function matchesPattern(pattern, text) {
  for (const flags of ["u", ""]) {
    try {
      return new RegExp(pattern, flags).test(text);
    } catch {
      // The dialect of the service accepts more.
    }
  }
  return null;
}

/** Why the registry forbids that an attribute gets `value`, with the values that `rules` has; empty
 * if it does not. */
export function whyForbidden(rules, attribute, value, nameOf) {
  if (rules.property(attribute, "ReadOnly") === true) {
    return because(rules, attribute, "ReadOnly", "read-only", nameOf);
  }
  if (rules.property(attribute, "Immutable") === true) {
    return because(rules, attribute, "Immutable", "immutable", nameOf);
  }
  let reason = "";
  if (typeof value === "number") {
    reason = whyNumberForbidden(rules, attribute, value, nameOf);
  } else if (typeof value === "string") {
    reason = whyTextForbidden(rules, attribute, value, nameOf);
  }
  const pattern = mapped(rules, attribute, "ValueExpression", "string") ?? "";
  if (reason === "" && pattern !== "" && matchesPattern(pattern, settingText(value)) === false) {
    const what = `does not match the pattern ${pattern}`;
    reason = because(rules, attribute, "ValueExpression", what, nameOf);
  }
  return reason;
}

/**
 * Decides which of `commands`, a list of {attribute, value} with one for each attribute, are carried
 * out together. A command is, if the dependencies allow it with the values before the batch or with
 * those after it, and if its value is the attribute's after the batch. The others are left out, and
 * the rest is decided again until nothing changes.
 *
 * Returns `refusals`, for each command why it is not carried out, or an empty text; and `changes`, as
 * `assign` returns them. `rules` has nothing to undo, and afterwards the values after the batch.
 */
export function decide(rules, commands, nameOf) {
  const refusals = commands.map(() => "");
  const isPending = commands.map(
    ({ attribute, value }) => rules.property(attribute, "CurrentValue") === value,
  );
  const forbiddenBefore = commands.map(({ attribute, value }, i) =>
    isPending[i] ? "" : whyForbidden(rules, attribute, value, nameOf));
  for (;;) {
    rules.undo();
    const changes = rules.assign(commands.filter((_, i) => refusals[i] === ""));
    let isRefused = false;
    commands.forEach(({ attribute, value }, i) => {
      if (isPending[i] || refusals[i] !== "") {
        return;
      }
      if (forbiddenBefore[i] !== "" && whyForbidden(rules, attribute, value, nameOf) !== "") {
        refusals[i] = forbiddenBefore[i];
      } else if (rules.property(attribute, "CurrentValue") !== value) {
        const set = `set to ${settingText(rules.property(attribute, "CurrentValue"))}`;
        const cause = changes.find((change) => change.attribute === attribute)?.cause ?? null;
        refusals[i] = cause === null
          ? `${set} by the same batch`
          : `${set} because ${rules.conditionText(cause, nameOf)}`;
      }
      isRefused = isRefused || refusals[i] !== "";
    });
    if (!isRefused) {
      return { refusals, changes };
    }
  }
}
