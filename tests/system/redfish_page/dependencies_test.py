#!/usr/bin/python3
"""usage: dependencies_test.py BUILD_DIR VERDICTS [CASES]

Compares what the setup page's modules make of registries and edits with what the service's own rules
make of them, in the program VERDICTS: CASES registries made by chance, with wrong dependencies and
cycles among them.
"""

import json
import random
import subprocess
import sys

from page_browser import BOUND, Browser, require
from redfish_server import run_test

TYPES = ("Enumeration", "String", "Integer", "Boolean")
FLAGS = ("ReadOnly", "WriteOnly", "GrayOut", "Hidden", "Immutable")
TEXTS = ("HelpText", "WarningText", "DisplayName", "ValueExpression")
NUMBERS = ("DisplayOrder", "LowerBound", "UpperBound", "MinLength", "MaxLength", "ScalarIncrement")
CONDITIONS = ("EQU", "NEQ", "GTR", "GEQ", "LSS", "LEQ", "BITAND", "BITOR")
CHOICES = ("On", "Off", "7", "True")
PATTERNS = ("", "^[a-z]*$", "^A", "[0-9]+")
WORDS = ("", "a", "A1", "b", "10", "9", "-3", "true", "FALSE", "é", "\U0001f600", "\uffff", "007", "a\tb")

# Evaluates the cases in the page's modules and answers as the program does.
EVALUATE = """
const [cases, done] = arguments;
(async () => {
  const { readRegistry } = await import("/page/attribute_registry.js");
  const { RegistryDependencies } = await import("/page/registry_dependencies.js");
  const { decide } = await import("/page/dependency_decision.js");
  const { settingText, truthNamed, wholeNumberIn } = await import("/page/registry_value.js");
  const names = ["CurrentValue", "DefaultValue", "ReadOnly", "WriteOnly", "GrayOut", "Hidden", "Immutable",
    "HelpText", "WarningText", "DisplayName", "DisplayOrder", "LowerBound", "UpperBound", "MinLength",
    "MaxLength", "ScalarIncrement", "ValueExpression"];
  const letters = { boolean: "b", number: "n", string: "t" };
  const typed = (value) => `${value === null ? "z" : letters[typeof value]}:${settingText(value)}`;
  const results = cases.map(({ registry: source, pending, edits }) => {
    const registry = readRegistry(source);
    if (registry.attributes.length === 0) {
      return { failure: true };
    }
    const assignments = (list) => list.map(([attribute, text]) => {
      const { type } = registry.attributes[attribute];
      const value = type === "Boolean" ? truthNamed(text) : type === "Integer" ? wholeNumberIn(text) : null;
      return { attribute, value: value ?? text };
    });
    const rules = new RegistryDependencies(registry);
    rules.load(assignments(pending));
    rules.keep();
    const { refusals, changes } = decide(rules, assignments(edits));
    return {
      maps: registry.maps.length,
      refusals,
      changes: changes.map(({ attribute, before, cause }) =>
        [String(attribute), typed(before), cause === null ? "" : rules.conditionText(cause)]),
      properties: registry.attributes.map((_, i) => names.map((name) => typed(rules.property(i, name)))),
    };
  });
  done(JSON.stringify(results));
})().catch((problem) => done(JSON.stringify({ problem: String(problem.stack) })));
"""


class Maker:
    """Makes a registry by chance. What is wrong on purpose is rare."""

    def __init__(self, seed):
        self.chance = random.Random(seed)
        self.count = self.chance.randint(1, 7)
        self.attributes = [self.attribute(i) for i in range(self.count)]
        self.dependencies = [self.dependency() for _ in range(self.chance.randint(0, 16))]

    def one(self, *choices):
        return self.chance.choice(choices)

    def rarely(self, odd, usual):
        return odd if self.chance.random() < 0.02 else usual

    def number(self):
        return self.one(0, 1, 2, 5, 7, 10, 100, -1)

    def value(self, kind):
        values = {"Enumeration": lambda: self.one(*CHOICES), "String": lambda: self.one(*WORDS),
                  "Integer": self.number, "Boolean": lambda: self.one(True, False)}
        return values[kind]()

    def anything(self):
        # Not 7.0: JavaScript does not know that it was not written as 7, which matters as a text.
        return self.one(None, True, False, 0, 5, 2.5, "5", "true", "x", [], {})

    def name(self, index=None):
        index = self.chance.randrange(self.count) if index is None else index
        return self.rarely("Nobody", f"A{index}")

    def property_value(self, name, kind):
        if name in FLAGS:
            return self.rarely(self.anything(), self.one(True, False))
        if name in TEXTS:
            return self.rarely(self.anything(), self.one(*PATTERNS))
        if name in NUMBERS:
            return self.rarely(self.anything(), self.one(None, "5", self.number()))
        return self.rarely(self.anything(), self.value(kind))

    def attribute(self, index):
        kind = self.one(*TYPES)
        made = {"AttributeName": self.rarely("A0", f"A{index}"), "Type": kind}
        for name in (*FLAGS, *TEXTS, *NUMBERS, "CurrentValue", "DefaultValue"):
            if self.chance.random() < 0.3:
                made[name] = self.property_value(name, kind)
        if kind == "Enumeration":
            made["Value"] = [{"ValueName": choice} for choice in CHOICES]
        return made

    def term(self, depth=0):
        made = {}
        if self.chance.random() < 0.7:
            made["MapTerms"] = self.rarely("XOR", self.one("AND", "OR", "NOT"))
        if depth < 2 and self.chance.random() < 0.15:
            made["Subexpressions"] = [self.term(depth + 1) for _ in range(self.chance.randint(0, 3))]
            if made["Subexpressions"]:
                return made
        made["MapFromAttribute"] = self.name()
        if self.chance.random() < 0.5:
            made["MapFromProperty"] = self.rarely(
                "HelpText", self.one("CurrentValue", "DefaultValue", *FLAGS[:4], *NUMBERS[1:]))
        made["MapFromCondition"] = self.rarely("SAME", self.one(*CONDITIONS))
        if self.chance.random() < 0.95:
            made["MapFromValue"] = self.one(self.anything(), self.value(self.one(*TYPES)))
        return made

    def dependency(self):
        index = self.chance.randrange(self.count)
        kind = self.attributes[index]["Type"]
        target = self.one(*["CurrentValue"] * 10, *FLAGS, *TEXTS, *NUMBERS, "DefaultValue", "ReadOnly")
        body = {"MapFrom": [self.term() for _ in range(self.chance.randint(1, 3))],
                "MapToAttribute": self.name(index), "MapToProperty": self.rarely("Nothing", target),
                "MapToValue": self.property_value(target, kind)}
        made = {"Dependency": body, "Type": self.rarely("Other", "Map")}
        if self.chance.random() < 0.9:
            made["DependencyFor"] = self.name()
        return made

    def text(self, index):
        """A value as a settings file has it."""
        value = self.value(self.attributes[index]["Type"])
        return value if isinstance(value, str) else str(value)

    def case(self):
        names = list(range(self.count))
        edited = self.chance.sample(names, self.chance.randint(0, self.count))
        return {"registry": {"RegistryEntries": {"Attributes": self.attributes, "Dependencies": self.dependencies}},
                "pending": [[i, self.text(i)] for i in names if self.chance.random() < 0.8],
                "edits": [[i, self.text(i)] for i in edited]}


def service_verdicts(program, cases):
    run = subprocess.run([program], input="".join(json.dumps(case) + "\n" for case in cases), text=True,
                         encoding="utf-8", check=False, capture_output=True, timeout=BOUND)
    require(run.returncode == 0, f"{program} failed: {run.stderr}")
    return [json.loads(line) for line in run.stdout.splitlines()]


def page_verdicts(browser, cases):
    verdicts = []
    # The driver takes long for large arguments.
    for first in range(0, len(cases), 500):
        answer = json.loads(browser.driver.execute_async_script(EVALUATE, cases[first:first + 500]))
        require(isinstance(answer, list), f"the page's modules failed: {answer}")
        verdicts += answer
    return verdicts


def test(server, program, count):
    cases = [Maker(seed).case() for seed in range(count)]
    expected = service_verdicts(program, cases)
    browser = Browser(server)
    try:
        browser.open()
        found = page_verdicts(browser, cases)
    finally:
        browser.close()
    wrong = [seed for seed in range(count) if found[seed] != expected[seed]]
    for seed in wrong[:3]:
        print(f"seed {seed}: {json.dumps(cases[seed], ensure_ascii=False)}")
        for member in expected[seed]:
            if expected[seed][member] != found[seed].get(member):
                print(f"  {member}: the service {expected[seed][member]}")
                print(f"  {member}: the page    {found[seed].get(member)}")
    require(not wrong, f"{len(wrong)} of {count} cases differ, the first of seed {wrong[:1]}")
    acting = sum(1 for one in expected if any(change[2] for change in one["changes"]))
    refused = sum(1 for one in expected if any(one["refusals"]))
    require(acting > count / 40 and refused > count / 20, f"too little happens: {acting}, {refused}")
    print(f"{count} cases: dependencies changed values in {acting}, refused edits in {refused}")


def main(build, program, count="2000"):
    return run_test(lambda server: test(server, program, int(count)), build)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
