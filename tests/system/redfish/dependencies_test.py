#!/usr/bin/python3
"""usage: dependencies_test.py BUILD_DIR

Changes attributes that depend on each other, with the real settings service: what the Redfish service
checks before a request and what the settings service decides must be the same.
"""

import json
import os
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import RESET, RESET_BIOS, SETTINGS, require, run_test


def dependency(source, condition, value, target, member, result):
    # A value is set when the attribute that it depends on is changed.
    cause = source if member == "CurrentValue" else target
    return {"DependencyFor": cause, "Type": "Map", "Dependency": {
        "MapFrom": [{"MapFromAttribute": source, "MapFromCondition": condition,
                     "MapFromProperty": "CurrentValue", "MapFromValue": value}],
        "MapToAttribute": target, "MapToProperty": member, "MapToValue": result}}


REGISTRY = {
    "@odata.type": "#AttributeRegistry.v1_3_2.AttributeRegistry", "Id": "Depending.1.0.0",
    "Language": "en", "Name": "Depending", "OwningEntity": "Test", "RegistryVersion": "1.0.0",
    "RegistryEntries": {
        "Attributes": [
            {"AttributeName": "Profile", "Type": "Enumeration", "MenuPath": "./Setup",
             "Value": [{"ValueName": "Fast"}, {"ValueName": "Custom"}], "DefaultValue": "Fast"},
            {"AttributeName": "Limit", "Type": "Integer", "MenuPath": "./Setup", "LowerBound": 0,
             "UpperBound": 100, "DefaultValue": 5},
            {"AttributeName": "Turbo", "Type": "Boolean", "MenuPath": "./Setup",
             "DefaultValue": True},
            {"AttributeName": "Asset", "Type": "String", "MenuPath": "./Setup", "MinLength": 0,
             "MaxLength": 20, "DefaultValue": "none", "IsSystemUniqueProperty": True}],
        "Dependencies": [
            dependency("Profile", "NEQ", "Custom", "Limit", "ReadOnly", True),
            dependency("Profile", "EQU", "Custom", "Turbo", "CurrentValue", False),
            dependency("Turbo", "EQU", True, "Asset", "ReadOnly", False)]}}


def check(server):
    def patch(expected, wanted, **attributes):
        answer = server.ask("PATCH", SETTINGS, {"Attributes": attributes})
        document = answer.json()
        found = [message["MessageId"].rpartition(".")[2] for message in
                 document.get("error", document).get("@Message.ExtendedInfo", [])]
        require(answer.status == expected and found == wanted, f"{attributes}: {answer}")
        return answer.body.decode()

    def pending(**values):
        shown = server.attributes(SETTINGS)
        require(all(shown[name] == value for name, value in values.items()), shown)

    # Read-only by another value, and what it is for a value that is the same anyway.
    reason = patch(400, ["PropertyNotWritable"], Limit=50)
    require("Profile is not Custom" in reason, reason)
    patch(400, ["PropertyNotWritable"], Limit=50, Turbo=False)
    patch(200, [], Limit=5)
    pending(Profile="Fast", Limit=5, Turbo=True)
    # Writable by another value of the same request, which sets a third.
    changed = patch(200, ["Success", "PropertyValueModified"], Limit=50, Profile="Custom")
    require("Turbo" in changed, changed)
    pending(Profile="Custom", Limit=50, Turbo=False)
    # With the owner's value alone.
    patch(200, ["Success"], Limit=60)
    # Back, after which it keeps its value and is read-only again.
    patch(200, ["Success"], Profile="Fast")
    patch(400, ["PropertyNotWritable"], Limit=70)
    pending(Limit=60)
    # A reset keeps what identifies the server.
    patch(200, ["Success"], Asset="A-17", Turbo=True)
    answer = server.ask("POST", RESET_BIOS, {})
    require(answer.status == 204, answer)
    pending(Asset="A-17", Profile="Fast")
    answer = server.ask("POST", RESET, {"ResetType": "ForceRestart"})
    require(answer.status == 204, answer)
    require(server.attributes()["Asset"] == "A-17", server.attributes())


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "registry.json")
        with open(path, "w", encoding="ascii") as file:
            json.dump(REGISTRY, file)
        code = run_test(check, sys.argv[1], registry_file=path)
    sys.exit(code)
