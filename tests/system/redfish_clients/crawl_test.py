#!/usr/bin/python3
"""usage: crawl_test.py BUILD_DIR DATA_DIR

Follows every reference from the root of the Redfish service. Every response must validate with DMTF's
schemas, in DATA_DIR/redfish/json-schema, and keep the rules of the protocol. Crawls a server with a
registry, one without, and one whose settings service does not run. Runs with the system's own
interpreter, whose packages include the validator.
"""

import os
import re
import sys
import urllib.parse
import xml.etree.ElementTree

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import (BIOS, REGISTRY, RESET, RESET_BIOS, ROOT, SETTINGS, require, run_test, skip)
import validate_redfish

METADATA = ROOT + "$metadata"
# A crawl that finds more than that follows references without end.
MOST_RESOURCES = 2000
UNVERSIONED = ("/redfish", ROOT + "odata")


def pointed(document, pointer):
    """What a JSON pointer leads to; None if nothing."""
    for part in pointer.split("/")[1:]:
        part = part.replace("~1", "/").replace("~0", "~")
        if isinstance(document, list):
            document = document[int(part)] if part.isdigit() and int(part) < len(document) else None
        else:
            document = document.get(part) if isinstance(document, dict) else None
    return document


def is_registry(document):
    """A registry is a file: it has no @odata.id, and the type with which it was published."""
    return "RegistryEntries" in document or "Messages" in document and "RegistryPrefix" in document


def namespaces(value):
    """The namespaces of the types in a document."""
    if isinstance(value, list):
        for item in value:
            yield from namespaces(item)
    elif isinstance(value, dict):
        if isinstance(value.get("@odata.type"), str):
            yield value["@odata.type"].rpartition(".")[0][1:]
        for item in value.values():
            yield from namespaces(item)


class Crawl:
    def __init__(self, server, schemas):
        self._server = server
        self._schemas = schemas
        self._connection = server.connect()
        self._validators = {}
        self.documents = {}  # by path
        self.types = set()  # namespaces
        self.targets = set()  # of actions
        self.fragments = set()
        self.problems = []

    def note(self, path, problem):
        self.problems.append(f"{path}: {problem}")

    def ask(self, method, path, **options):
        answer = self._server.ask(method, path, connection=self._connection, **options)
        for name in ("OData-Version", "Cache-Control"):
            if name not in answer.headers:
                self.note(path, f"{method}: no {name}")
        return answer

    def validate(self, path, value):
        reference = validate_redfish.reference_for(value)
        if reference is None:
            self.note(path, f"no @odata.type in {list(value)}")
            return
        if reference not in self._validators:
            self._validators[reference] = self._schemas.validator(reference)
        for error in self._validators[reference].iter_errors(value):
            place = "/".join(str(part) for part in error.absolute_path)
            self.note(path, f"/{place}: {error.message[:300]}")

    def references(self, value, path):
        """The paths that a document refers to."""
        if isinstance(value, list):
            for item in value:
                yield from self.references(item, path)
        elif isinstance(value, dict):
            for name, item in value.items():
                if name in ("@odata.id", "Uri") or name.endswith("@odata.nextLink"):
                    yield item
                elif name == "target" and isinstance(item, str):
                    self.targets.add(item)
                elif name == "@Redfish.ActionInfo":
                    yield item
                elif not (name == "Attributes" and path in (BIOS, SETTINGS)):
                    yield from self.references(item, path)

    def run(self):
        waiting = ["/redfish", ROOT, ROOT + "odata"]
        seen = set(waiting)
        while waiting:
            require(len(seen) < MOST_RESOURCES, f"{MOST_RESOURCES} resources, and no end")
            path = waiting.pop()
            document = self.check_resource(path)
            for reference in self.references(document, path):
                if reference.startswith("#"):
                    reference = path + reference
                place, _, fragment = reference.partition("#")
                if fragment:
                    self.fragments.add((place, fragment))
                if not place.startswith("/redfish/"):
                    self.note(path, f"refers to {reference}")
                elif place not in seen:
                    seen.add(place)
                    waiting.append(place)
        for place, fragment in sorted(self.fragments):
            if pointed(self.documents.get(place), fragment) is None:
                self.note(place, f"has no {fragment}")
        self.check_metadata()
        for target in sorted(self.targets):
            self.check_target(target)
        for path in sorted(self.documents):
            if "Members" in self.documents[path]:
                self.check_collection(path)
        self.check_errors()

    def check_resource(self, path):
        answer = self.ask("GET", path)
        if answer.status != 200:
            self.note(path, f"GET: {answer}")
            return {}
        if not re.match(r"application/json(;|$)", answer.headers.get("Content-Type", "")):
            self.note(path, f"Content-Type: {answer.headers.get('Content-Type')}")
        document = answer.json()
        self.documents[path] = document
        if path in UNVERSIONED:
            return document
        self.validate(path, document)
        self.types |= set(namespaces(document))
        if is_registry(document):
            self.check_headers(path, answer, document)
            return document
        if document.get("@odata.id", "").rstrip("/") != path.split("?")[0].rstrip("/"):
            self.note(path, f"has the @odata.id {document.get('@odata.id')}")
        self.check_headers(path, answer, document)
        self.check_definition(path, answer, document)
        self.check_actions(path, document)
        return document

    def check_definition(self, path, answer, document):
        """The path, the Id and the methods are those of the schema."""
        name = document.get("@odata.type", "#.").rpartition(".")[2]
        definition = self._schemas.load(f"{validate_redfish.BASE}{name}.json")["definitions"][name]
        if path != SETTINGS:  # it has the path that @Redfish.Settings names
            place = path.partition("?")[0]
            pattern = next((pattern for pattern in definition.get("uris", [])
                            if re.fullmatch(re.sub(r"\{\w+\}", "[^/]+", pattern), place)), None)
            if pattern is None:
                self.note(path, f"not one of {definition.get('uris')}")
            elif pattern.endswith("}") and document.get("Id") != place.rpartition("/")[2]:
                self.note(path, f"has the Id {document.get('Id')}")
        allow = answer.headers.get("Allow", "").split(", ")
        for method, member in (("POST", "insertable"), ("PATCH", "updatable"), ("PUT", "updatable"),
                               ("DELETE", "deletable")):
            if method in allow and not definition.get(member):
                self.note(path, f"allows {method}, and is not {member}")

    def check_actions(self, path, document):
        for name, action in document.get("Actions", {}).items():
            if action.get("target") != f"{path}/Actions/{name[1:]}":
                self.note(path, f"{name} has the target {action.get('target')}")

    def check_headers(self, path, answer, document):
        allow = [word.strip() for word in answer.headers.get("Allow", "").split(",")]
        if "GET" not in allow:
            self.note(path, f"GET: Allow: {answer.headers.get('Allow')}")
        for method in ("PUT", "DELETE", "POST", "PATCH"):
            if method not in allow:
                refused = self.ask(method, path, body={})
                if refused.status != 405 or "Allow" not in refused.headers:
                    self.note(path, f"{method}: {refused}")
        tag = answer.headers.get("ETag")
        if not tag:
            self.note(path, "no ETag")
        elif document.get("@odata.etag", tag) != tag:
            self.note(path, f"two entity tags: {tag} and {document['@odata.etag']}")
        else:
            same = self.ask("GET", path, headers={"If-None-Match": tag})
            if same.status != 304 or same.body:
                self.note(path, f"If-None-Match: {same}")
        head = self.ask("HEAD", path)
        for name in ("ETag", "Allow", "Content-Type", "Content-Length", "Link"):
            if head.headers.get(name) != answer.headers.get(name):
                self.note(path, f"HEAD: {name}: {head.headers.get(name)}")

    def check_metadata(self):
        """The metadata document has the namespaces of all types."""
        answer = self.ask("GET", METADATA)
        if answer.status != 200 or "xml" not in answer.headers.get("Content-Type", ""):
            self.note(METADATA, f"GET: {answer}")
            return
        included = {element.get("Namespace") for element in
                    xml.etree.ElementTree.fromstring(answer.body).iter()
                    if element.tag.endswith("}Include")}
        for missing in sorted(self.types - included):
            self.note(METADATA, f"does not include {missing}")

    def check_target(self, target):
        answer = self.ask("GET", target)
        if answer.status != 405 or answer.headers.get("Allow") != "POST":
            self.note(target, f"GET: {answer}")

    def check_collection(self, path):
        document = self.documents[path]
        members = document["Members"]
        if "Members@odata.nextLink" not in document and "?" not in path and \
                document.get("Members@odata.count") != len(members):
            self.note(path, f"has {len(members)} members: {document.get('Members@odata.count')}")
        first = self.ask("GET", path + "?$top=1").json()["Members"]
        if first != members[:1]:
            self.note(path, f"$top=1: {first}")
        expanded = self.ask("GET", path + "?$expand=.($levels=1)&$top=3").json()["Members"]
        for member, reference in zip(expanded, members):
            expected = self.documents.get(reference["@odata.id"])
            # What changes with each request differs.
            if expected is not None and set(expected) != set(member):
                self.note(path, f"$expand: {set(expected) ^ set(member)}")

    def check_errors(self):
        for method, path, status, body in (
                ("GET", ROOT + "Nothing", 404, None),
                ("GET", BIOS + "/Nothing", 404, None),
                ("GET", ROOT + "Systems/other", 404, None),
                ("PATCH", SETTINGS, 400, {"Attributes": {"Nothing": 1}}),
                ("PATCH", SETTINGS, 400, b"{"),
                ("POST", RESET, 400, {"ResetType": "Never"})):
            answer = self.ask(method, path, body=body)
            if answer.status != status:
                self.note(path, f"{method}: {answer}")
            elif "error" not in answer.json():
                self.note(path, f"{method}: no error in {answer}")
            else:
                self.validate(path, answer.json())
            if answer.status == 400:  # may end the connection
                self._connection.close()

    def pretty(self):
        return "\n".join(self.problems[:100])


def crawl(server, schemas, what):
    done = Crawl(server, schemas)
    done.run()
    print(f"{what}: {len(done.documents)} resources, {len(done.targets)} actions, "
          f"{len(done.problems)} problems")
    require(not done.problems, what + "\n" + done.pretty())
    return done


def use(server):
    """Gives collections members: changes in the log, a session, another account."""
    server.ask("PATCH", SETTINGS, {"Attributes": {"BootMode": "LegacyBios", "PostDelay": 5}})
    server.ask("POST", RESET, {"ResetType": "ForceRestart"})
    server.ask("POST", RESET_BIOS, {})
    made = server.ask("POST", ROOT + "SessionService/Sessions",
                      {"UserName": server.user, "Password": server.password})
    require(made.status == 201, f"no session: {made}")
    made = server.ask("POST", ROOT + "AccountService/Accounts",
                      {"UserName": "eve", "Password": "crawl-7-tests", "RoleId": "ReadOnly"})
    require(made.status == 201, f"no account: {made}")


def with_registry(server, schemas):
    use(server)
    done = crawl(server, schemas, "with a registry")
    paths = {urllib.parse.urlsplit(path).path for path in done.documents}
    for path in (BIOS, SETTINGS, ROOT + "Registries", ROOT + "AccountService/Accounts/eve"):
        require(path in paths, f"nothing refers to {path}")
    server.stop()
    crawl(server, schemas, "without the settings service")
    server.start()


def main(build, data):
    folder = os.path.join(data, "redfish", "json-schema")
    if not os.path.isdir(folder):
        skip("DP_TEST_DATA_DIR has no redfish/json-schema")
    schemas = validate_redfish.Schemas(folder)
    code = run_test(lambda server: with_registry(server, schemas), build, registry_file=REGISTRY)
    return code or run_test(lambda server: crawl(server, schemas, "without a registry"), build,
                            registry_file=None)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
