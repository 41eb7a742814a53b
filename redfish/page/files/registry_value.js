// Values of an attribute registry and how dependencies compare them: the rules of
// service_api/registry_value.hpp. A value is null, a Boolean, a number or a text. Whole numbers must
// be exact in a number of JavaScript.

const INT64_MIN = -(2n ** 63n);
const INT64_MAX = 2n ** 63n - 1n;

/** The Boolean that a text is written as, "true" or "false" in any case of letters, or null. */
export function truthNamed(text) {
  const lower = text.toLowerCase();
  return lower === "true" ? true : lower === "false" ? false : null;
}

/** The whole number that all of a text is, or null. */
export function wholeNumberIn(text) {
  if (!/^-?[0-9]+$/.test(text)) {
    return null;
  }
  const exact = BigInt(text);
  return exact < INT64_MIN || exact > INT64_MAX ? null : Number(exact);
}

function truthIn(value) {
  return typeof value === "boolean" ? value : typeof value === "string" ? truthNamed(value) : null;
}

function numberIn(value) {
  return typeof value === "number" ? value : typeof value === "string" ? wholeNumberIn(value) : null;
}

// The order of the bytes of two texts in UTF-8, which is the order of their code points.
function compareTexts(left, right) {
  const a = Array.from(left);
  const b = Array.from(right);
  for (let i = 0; i < a.length && i < b.length; ++i) {
    const difference = a[i].codePointAt(0) - b[i].codePointAt(0);
    if (difference !== 0) {
      return difference;
    }
  }
  return a.length - b.length;
}

// Negative, zero or positive; NaN when the two cannot be compared.
function compare(left, right, digitsAreNumbers) {
  if (left === null || right === null) {
    return left === right ? 0 : NaN;
  }
  if (typeof left === "boolean" || typeof right === "boolean") {
    const a = truthIn(left);
    const b = truthIn(right);
    return a === null || b === null ? NaN : Number(a) - Number(b);
  }
  if (digitsAreNumbers || typeof left === "number" || typeof right === "number") {
    const a = numberIn(left);
    const b = numberIn(right);
    if (a !== null && b !== null) {
      return a < b ? -1 : a > b ? 1 : 0;
    }
  }
  return typeof left === "string" && typeof right === "string" ? compareTexts(left, right) : NaN;
}

// The 64 bits of a whole number, or null.
function bitsOf(value) {
  const number = numberIn(value);
  if (number === null || !Number.isInteger(number) || number >= 2 ** 64 || number < -(2 ** 63)) {
    return null;
  }
  return BigInt.asUintN(64, BigInt(number));
}

export const CONDITIONS = new Map([
  ["EQU", " is "],
  ["NEQ", " is not "],
  ["GTR", " is above "],
  ["GEQ", " is at least "],
  ["LSS", " is below "],
  ["LEQ", " is at most "],
  ["BITAND", " has bits of "],
  ["BITOR", " or the mask has bits: "],
]);

/** Whether `left` CONDITION `right`. */
export function holds(condition, left, right) {
  switch (condition) {
    case "EQU":
      return compare(left, right, false) === 0;
    case "NEQ":
      return compare(left, right, false) !== 0;
    case "GTR":
      return compare(left, right, true) > 0;
    case "GEQ":
      return compare(left, right, true) >= 0;
    case "LSS":
      return compare(left, right, true) < 0;
    case "LEQ":
      return compare(left, right, true) <= 0;
    default: {
      const a = bitsOf(left);
      const b = bitsOf(right);
      return a !== null && b !== null && (condition === "BITAND" ? a & b : a | b) !== 0n;
    }
  }
}

/** The value as a text: "True" and "False" for a Boolean, empty for null. */
export function settingText(value) {
  return value === null ? "" : value === true ? "True" : value === false ? "False" : String(value);
}
