#!/usr/bin/env python3
"""Validates Redfish resources against DMTF's JSON schemas.

usage: validate_redfish.py SCHEMAS FILE...

SCHEMAS is a folder with DMTF's schemas; each FILE has one resource or error. Prints every problem.
Exit code 0: all are valid, 1: some are not, 77: python3-jsonschema is not installed.
"""

import glob
import json
import os
import re
import sys
import warnings

try:
    warnings.simplefilter("ignore")
    import jsonschema
except ImportError:
    sys.exit(77)

BASE = "http://redfish.dmtf.org/schemas/v1/"


class Schemas:
    def __init__(self, folder):
        self.folder = folder
        self.cache = {}

    def load(self, uri):
        name = uri.split("#")[0][len(BASE):]
        if name not in self.cache:
            with open(self.path_of(name), encoding="utf-8") as file:
                self.cache[name] = json.load(file)
        return self.cache[name]

    def path_of(self, name):
        """The schema's file; of a version that is absent, that of the newest one."""
        path = os.path.join(self.folder, name)
        if os.path.exists(path):
            return path
        stem = name.split(".")[0]
        versions = glob.glob(os.path.join(self.folder, stem + ".v*.json"))
        if not versions:
            raise FileNotFoundError(path)
        return max(versions, key=lambda found: [int(part) for part in re.findall(r"\d+", found)])

    def validator(self, reference):
        resolver = jsonschema.RefResolver(BASE, {}, handlers={"http": self.load})
        return jsonschema.Draft7Validator(
            {"$ref": BASE + reference}, resolver=resolver, format_checker=jsonschema.FormatChecker())


def reference_for(value):
    """The schema of a resource, or nothing if it has none."""
    if "error" in value:
        return "redfish-error.v1_0_2.json#/definitions/RedfishError"
    match = re.fullmatch(r"#([A-Za-z]+)(\.v\d+_\d+_\d+)?\.([A-Za-z]+)", value.get("@odata.type", ""))
    if not match:
        return None
    return match[1] + (match[2] or "") + ".json#/definitions/" + match[3]


def main(arguments):
    schemas = Schemas(arguments[0])
    problems = 0
    for path in arguments[1:]:
        with open(path, encoding="utf-8") as file:
            value = json.load(file)
        reference = reference_for(value)
        if reference is None:
            print(f"{path}: no @odata.type")
            problems += 1
            continue
        for error in schemas.validator(reference).iter_errors(value):
            place = "/".join(str(part) for part in error.absolute_path)
            print(f"{path}: {value.get('@odata.id', '')} /{place}: {error.message[:300]}")
            problems += 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
