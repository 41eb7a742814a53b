#!/usr/bin/python3
"""usage: protocol_rules_test.py BUILD_DIR DATA_DIR

Checks the rules of the Redfish protocol (DSP0266) over a real service: methods, URIs, header fields,
queries, changes, errors, sessions, accounts, privileges and TLS. Each function `rule_...` is a rule;
every broken one is printed. What each resource must have is in crawl_test.py. The published registry
of privileges is DATA_DIR/redfish/registries/Redfish_*_PrivilegeRegistry.json.
"""

import glob
import itertools
import json
import os
import re
import socket
import ssl
import sys
import time
import traceback
import urllib.parse
import warnings
import xml.etree.ElementTree

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import BIOS, BOUND, REGISTRY, RESET, ROOT, SETTINGS, SYSTEM, Answer, require, run_test

METADATA = ROOT + "$metadata"
ODATA = ROOT + "odata"
SESSION_SERVICE = ROOT + "SessionService"
SESSIONS = SESSION_SERVICE + "/Sessions"
ACCOUNT_SERVICE = ROOT + "AccountService"
ACCOUNTS = ACCOUNT_SERVICE + "/Accounts"
ROLES = ACCOUNT_SERVICE + "/Roles"
EVENTS = ROOT + "EventService"
SUBSCRIPTIONS = EVENTS + "/Subscriptions"
OPEN = ("/redfish", ROOT, "/redfish/v1", ODATA, METADATA)
PROTECTED = (ROOT + "Systems", SYSTEM, BIOS, SETTINGS, ROOT + "Managers", SESSION_SERVICE, SESSIONS,
             ACCOUNT_SERVICE, ACCOUNTS, ROLES, ROOT + "Registries", ROOT + "JsonSchemas",
             ROOT + "TaskService", EVENTS, SUBSCRIPTIONS)
NOBODY = {"Authorization": None}
DATA = []  # the folder
NUMBERS = itertools.count()  # of accounts


class Client:
    """Sends requests as somebody; a header field with the value None is left out."""

    def __init__(self, server):
        self.server = server
        self.connection = server.connect()

    def ask(self, method, path, body=None, **headers):
        fields = {**self.server.basic(), "OData-Version": "4.0"}
        for name, value in headers.items():
            fields[name.replace("_", "-")] = value
        if body is not None and not isinstance(body, bytes):
            body = json.dumps(body).encode()
            fields.setdefault("Content-Type", "application/json")
        fields = {name: value for name, value in fields.items() if value is not None}
        self.connection.request(method, path, body=body, headers=fields)
        response = self.connection.getresponse()
        return Answer(response.status, response.headers, response.read())

    def get(self, path, **headers):
        return self.ask("GET", path, **headers)

    def basic(self, user, password):
        saved = self.server.user, self.server.password
        self.server.user, self.server.password = user, password
        fields = self.server.basic()
        self.server.user, self.server.password = saved
        return fields

    def log_in(self, user=None, password=None, path=SESSIONS):
        return self.ask("POST", path, {"UserName": user or self.server.user,
                                       "Password": password or self.server.password}, **NOBODY)

    def account(self, role="ReadOnly", **more):
        """Makes an account; its path, its name and its password."""
        number = next(NUMBERS)
        name, password = f"rules{number}", f"Password-{number}"
        made = self.ask("POST", ACCOUNTS, {"UserName": name, "Password": password, "RoleId": role,
                                           **more})
        expect(made.status == 201, made)
        return made.headers["Location"], name, password


def expect(condition, shown):
    require(condition, str(shown))


def ids(answer):
    """The names of the messages of an error, or of a resource."""
    document = answer.json()
    found = document.get("error", document).get("@Message.ExtendedInfo", [])
    return [message["MessageId"].rpartition(".")[2] for message in found]


def is_error(answer):
    """Whether an answer is an error as every error is."""
    error = answer.json().get("error", {})
    messages = error.get("@Message.ExtendedInfo", [])
    return (re.fullmatch(r"Base\.\d+\.\d+\.\w+", error.get("code", "")) is not None
            and bool(error.get("message")) and bool(messages)
            and all(message.keys() >= {"@odata.type", "MessageId", "Message", "MessageSeverity",
                                       "Resolution"} for message in messages)
            and answer.headers["Content-Type"].startswith("application/json"))


# --- the protocol

def rule_the_fixed_uris_are_there(client):
    expect(client.get("/redfish").json() == {"v1": "/redfish/v1/"}, client.get("/redfish"))
    for path in (ROOT, "/redfish/v1", ODATA):
        expect(client.get(path).status == 200, path)
        expect(client.get(path).headers["Content-Type"] == "application/json", path)
    metadata = client.get(METADATA)
    expect(metadata.headers["Content-Type"] == "application/xml", metadata)
    expect(client.get(ROOT).json()["@odata.id"] == ROOT, "the root's @odata.id")


def rule_open_resources_need_no_login(client):
    for path in OPEN:
        for method in ("GET", "HEAD"):
            answer = client.ask(method, path, **NOBODY)
            expect(answer.status == 200, (method, path, answer))


def rule_everything_else_needs_a_login(client):
    for path in PROTECTED + (ROOT + "Nothing", ROOT + "openapi.yaml"):
        for method in ("GET", "HEAD", "POST", "PUT", "PATCH", "DELETE"):
            if (method, path) == ("POST", SESSIONS):
                continue
            body = {} if method in ("POST", "PUT", "PATCH") else None
            answer = client.ask(method, path, body, **NOBODY)
            expect(answer.status == 401, (method, path, answer))
            expect(answer.headers["WWW-Authenticate"].startswith("Basic "), (method, path))
            expect(method == "HEAD" or is_error(answer), answer)


def rule_head_is_get_without_a_body(client):
    for path in OPEN + PROTECTED:
        got, head = client.get(path), client.ask("HEAD", path)
        expect(head.status == 200 and head.body == b"", (path, head))
        for name in ("Allow", "Content-Length", "Content-Type", "ETag", "Link", "OData-Version"):
            expect(head.headers[name] == got.headers[name], (path, name))


def rule_unknown_methods_are_refused(client):
    for path in (ROOT, SYSTEM, SESSIONS):
        expect(client.ask("FAKEMETHODFORTEST", path).status in (405, 501), path)
        for method in ("OPTIONS", "TRACE", "CONNECT"):
            expect(client.ask(method, path).status in (400, 405, 501), (method, path))
    for method, path in (("DELETE", ROOT), ("POST", ROOT), ("PATCH", ROOT), ("DELETE", SYSTEM),
                         ("PATCH", ROOT + "Managers/bmc"), ("PUT", SETTINGS), ("PATCH", BIOS), ("POST", ROLES),
                         ("PATCH", SESSIONS), ("PATCH", ACCOUNTS), ("DELETE", ACCOUNTS),
                         ("PATCH", ROLES + "/ReadOnly"), ("DELETE", ROLES + "/ReadOnly"),
                         ("GET", RESET)):
        answer = client.ask(method, path, {} if method != "DELETE" else None)
        expect(answer.status == 405 and answer.headers["Allow"], (method, path, answer))
        expect(method not in answer.headers["Allow"].split(", "), (method, path, answer))
        expect(ids(answer) == ["OperationNotAllowed"], answer)


def rule_a_session_cannot_be_changed(client):
    session = client.log_in()
    path = session.headers["Location"]
    answer = client.ask("PATCH", path, {"UserName": "other"})
    expect(answer.status == 405 and "DELETE" in answer.headers["Allow"], answer)
    expect(client.ask("DELETE", path).status == 204, path)


# --- header fields of requests

def rule_accept_is_followed(client):
    for accept in ("application/json", "application/json;charset=utf-8", "application/*",
                   "application/*;charset=utf-8", "*/*", "*/*;charset=utf-8",
                   "text/html, application/json;q=0.5"):
        answer = client.get(ROOT, Accept=accept)
        expect(answer.status == 200, (accept, answer))
        wanted = "application/json" + (";charset=utf-8" if "charset" in accept else "")
        expect(answer.headers["Content-Type"] == wanted, (accept, answer))
        xml_accept = accept.replace("json", "xml")
        expect(client.get(METADATA, Accept=xml_accept).status == 200, xml_accept)
    expect(client.get(ROOT, Accept=None).headers["Content-Type"] == "application/json", "no Accept")
    for accept in ("application/xml", "text/event-stream", "application/json;q=0"):
        answer = client.get(ROOT, Accept=accept)
        expect(answer.status == 406 and is_error(answer), (accept, answer))


def rule_the_version_of_odata_is_checked(client):
    expect(client.get(ROOT, OData_Version="4.0").status == 200, "4.0")
    expect(client.get(ROOT, OData_Version=None).status == 200, "none")
    for version in ("4.1", "3.0", "x"):
        answer = client.get(ROOT, OData_Version=version)
        expect(answer.status == 412 and is_error(answer), (version, answer))


def rule_the_login_is_checked_before_other_fields(client):
    tag = client.get(ACCOUNTS + "/admin").headers["ETag"]
    for fields in ({"If-None-Match": tag}, {"OData-Version": "4.1"}, {"Accept": "text/html"}):
        answer = client.ask("GET", ACCOUNTS + "/admin", **NOBODY, **fields)
        expect(answer.status == 401, (fields, answer))


def rule_bodies_are_json_in_utf8(client):
    body = json.dumps({"UserName": client.server.user, "Password": client.server.password}).encode()
    for content in (None, "application/json", "application/json;charset=utf-8",
                    'Application/JSON; charset="UTF-8"'):
        answer = client.ask("POST", SESSIONS, body, Content_Type=content, **NOBODY)
        expect(answer.status == 201, (content, answer))
        client.ask("DELETE", answer.headers["Location"])
    for content in ("text/plain", "application/xml", "application/x-www-form-urlencoded",
                    "multipart/form-data; boundary=x", "application/json;charset=latin1"):
        answer = client.ask("POST", SESSIONS, body, Content_Type=content, **NOBODY)
        expect(answer.status == 415 and is_error(answer), (content, answer))


def rule_a_body_of_get_is_ignored(client):
    expect(client.ask("GET", ROOT, {"a": 1}).status == 200, "a body")
    expect(client.ask("GET", SYSTEM, b"no JSON").status == 200, "another body")


# --- header fields of responses

def rule_every_answer_has_its_fields(client):
    for path in OPEN + PROTECTED + (ROOT + "Nothing",):
        answer = client.get(path)
        for name in ("Cache-Control", "Date", "OData-Version", "Content-Type", "Content-Length",
                     "X-Content-Type-Options", "X-Frame-Options", "Strict-Transport-Security",
                     "Content-Security-Policy", "Referrer-Policy"):
            expect(answer.headers[name], (path, name))
        expect(answer.headers["OData-Version"] == "4.0", path)
        expect(answer.headers["Set-Cookie"] is None, path)
        expect(answer.headers["Server"] is None, path)
        if answer.status == 200:
            expect("GET" in answer.headers["Allow"].split(", "), path)


def rule_a_link_names_the_schema_of_the_resource(client):
    for path in (ROOT,) + PROTECTED:
        answer = client.get(path)
        found = re.fullmatch(r"<[^>]*/([^/>]+)\.json>; ?rel=describedby", answer.headers["Link"])
        expect(found, (path, answer.headers["Link"]))
        name = answer.json()["@odata.type"][1:].rpartition(".")[0]
        expect(found.group(1) in (name, name.partition(".")[0]), (path, answer.headers["Link"]))


def rule_entity_tags_have_their_form(client):
    for path in PROTECTED + (ACCOUNTS + "/admin",):
        tag = client.get(path).headers["ETag"]
        expect(re.fullmatch(r'(W/)?"[\x21\x23-\x7e]*"', tag or ""), (path, tag))
        same = client.get(path, If_None_Match=tag)
        expect(same.status == 304 and same.body == b"" and same.headers["ETag"] == tag, same)


# --- OData documents

def rule_metadata_and_service_document_are_complete(client):
    root = xml.etree.ElementTree.fromstring(client.get(METADATA).body)
    expect(root.tag == "{http://docs.oasis-open.org/odata/ns/edmx}Edmx", root.tag)
    names = [element.tag.rpartition("}")[2] for element in root.iter()]
    expect(names.count("EntityContainer") == 1 and names.count("DataServices") == 1, names)
    includes = [element.get("Namespace") for element in root.iter()
                if element.tag.endswith("}Include")]
    expect(len(includes) == len(set(includes)), "repeated namespaces")
    container = [element for element in root.iter() if element.tag.endswith("}EntityContainer")][0]
    expect(container.get("Extends").rpartition(".")[0] in includes, container.attrib)
    document = client.get(ODATA).json()
    expect(document["@odata.context"] == METADATA, document)
    urls = {entry["url"] for entry in document["value"]}
    for name, value in client.get(ROOT).json().items():
        if isinstance(value, dict) and "@odata.id" in value:
            expect(value["@odata.id"] in urls, name)
    expect(all(client.get(url).status == 200 for url in urls), urls)


# --- queries

def rule_queries_are_followed_or_refused(client):
    features = client.get(ROOT).json()["ProtocolFeaturesSupported"]
    expect(features["OnlyMemberQuery"] and features["SelectQuery"] and features["TopSkipQuery"],
           features)
    expect(client.get(ROOT + "?rpvunknown").status == 200, "a parameter of others")
    unknown = client.get(ROOT + "?$rpvunknown")
    expect(unknown.status == 501 and "$rpvunknown" in unknown.body.decode(), unknown)
    expect(client.get(ROOT + "?$filter=a").status == 501, "$filter")
    for query in ("only=foo", "$top=x", "$top=-1", "$skip=x", "$expand=x", "$expand=.($levels=0)",
                  "$select=", "$top=1&$top=2", "only&$expand=."):
        answer = client.get(SESSIONS + "?" + query)
        expect(answer.status == 400 and is_error(answer), (query, answer))
    expect(client.get(SYSTEM + "?only").status == 400, "only, of no collection")
    only = client.get(ROOT + "Systems?only").json()
    expect(only["@odata.id"] == SYSTEM, only)
    selected = client.get(SYSTEM + "?$select=PowerState").json()
    expect(selected.keys() <= {"@odata.id", "@odata.type", "@odata.context", "@odata.etag",
                               "PowerState"} and "PowerState" in selected, selected)
    refused = client.ask("PATCH", SETTINGS + "?$select=Id", {"Attributes": {}})
    expect(refused.status == 400, refused)


def rule_expand_follows_the_references_that_it_names(client):
    for sign, subordinate, linked in (("*", True, True), (".", True, False), ("~", False, True)):
        for levels in ("", "($levels=1)"):
            query = urllib.parse.urlencode({"$expand": sign + levels})
            root = client.get(ROOT + "?" + query).json()
            for name, value in root.items():
                if isinstance(value, dict) and "@odata.id" in value:
                    expect((len(value) > 1) == subordinate, (query, name, value))
            for name, value in root["Links"].items():
                expect((len(value) > 1) == linked, (query, name, value))


def rule_collections_count_all_members(client):
    for path in (ROOT + "Systems", SESSIONS, ACCOUNTS, ROLES, ROOT + "JsonSchemas"):
        whole = client.get(path).json()
        expect(whole["Members@odata.count"] == len(whole["Members"]), whole)
        first = client.get(path + "?$top=1").json()
        expect(first["Members@odata.count"] == whole["Members@odata.count"], first)
        expect(first["Members"] == whole["Members"][:1], first)
        rest = client.get(path + "?$skip=1").json()
        expect(rest["Members"] == whole["Members"][1:], rest)


# --- changes

def rule_a_change_reports_what_it_did_not_set(client):
    path = client.account()[0]
    changed = client.ask("PATCH", path, {"Password": "Password-x", "BogusProp": "foo"})
    expect(changed.status == 200 and changed.json()["@odata.id"] == path, changed)
    expect(ids(changed) == ["PropertyUnknown"], changed)
    for body, wanted in (({"BogusProp": "foo"}, ["PropertyUnknown"]),
                         ({"Id": "x"}, ["PropertyNotWritable"]),
                         ({"Id": "x", "BogusProp": 1}, ["PropertyNotWritable", "PropertyUnknown"]),
                         ({"@odata.id": path + "/"}, ["NoOperation"]),
                         ({}, ["EmptyJSON"])):
        answer = client.ask("PATCH", path, body)
        expect(answer.status == 400 and ids(answer) == wanted, (body, answer))
        if "BogusProp" in body:
            expect("BogusProp" in answer.body.decode(), answer)
    answer = client.ask("PATCH", SETTINGS, {"@odata.etag": "x"})
    expect(ids(answer) == ["NoOperation"], answer)
    answer = client.ask("PATCH", SETTINGS, {"Attributes": {"BogusProp": 1, "Other": 2}})
    expect(ids(answer) == ["PropertyUnknown"] * 2, answer)


def rule_a_change_can_be_conditional(client):
    path = client.account()[0]
    tag = client.get(path).headers["ETag"]
    for wrong in (tag + "foobar", '"other"', 'W/"other"'):
        answer = client.ask("PATCH", path, {"Enabled": False}, If_Match=wrong)
        expect(answer.status == 412 and ids(answer) == ["PreconditionFailed"], (wrong, answer))
        expect(client.ask("DELETE", path, If_Match=wrong).status == 412, wrong)
    changed = client.ask("PATCH", path, {"Enabled": False}, If_Match=tag)
    expect(changed.status == 200 and changed.headers["ETag"] not in (None, tag), changed)
    expect(client.get(path).headers["ETag"] == changed.headers["ETag"], changed)
    expect(client.ask("PATCH", path, {"Enabled": True}, If_Match=tag).status == 412, "the old tag")
    expect(client.ask("DELETE", path, If_Match="*").status == 204, "any tag")
    expect(client.get(path).status == 404, path)


def rule_wrong_bodies_change_nothing(client):
    tag = client.get(SETTINGS).headers["ETag"]
    deep = b'{"Attributes":' * 5000 + b"1" + b"}" * 5000
    for body in (b"", b"{", b"[]", b"1", b"null", b'"x"', b"\xff\xfe", b'{"Attributes":{"a":"\xff"}}',
                 b'{"Attributes":{"a":1,"a":2}}', b'{"Attributes":{},"Attributes":{}}', deep,
                 b'{"Attributes":{"PostDelay":1e999}}', b'{"Attributes":{"PostDelay":' + b"9" * 9999 +
                 b"}}", b'{"Attributes":{"PostDelay":01}}', b'{"Attributes":{"PostDelay":NaN}}',
                 b'{"Attributes":{"PostDelay":5}} x', b'{"Attributes":{"PostDelay":5},}',
                 b'{"Attributes":{"\\ud800":5}}', b'{"Attributes":null}', b'{"Attributes":{"":1}}',
                 b'\xef\xbb\xbf{"Attributes":{"PostDelay":"x"}}'):
        answer = client.ask("PATCH", SETTINGS, body, Content_Type="application/json")
        expect(answer.status == 400 and is_error(answer), (body[:60], answer))
    expect(client.get(SETTINGS).headers["ETag"] == tag, "the values changed")


def rule_actions_check_their_parameters(client):
    for body, wanted in (({}, "ActionParameterMissing"),
                         ({"ResetType": "Never"}, "ActionParameterValueNotInList"),
                         ({"ResetType": 1}, "ActionParameterValueTypeError"),
                         ({"ResetType": "ForceRestart", "X": 1}, "ActionParameterUnknown")):
        answer = client.ask("POST", RESET, body)
        expect(answer.status == 400 and ids(answer) == [wanted], (body, answer))


def rule_a_created_resource_has_a_location(client):
    made = client.ask("POST", ACCOUNTS + "/Members",
                      {"UserName": "members", "Password": "Password-m", "RoleId": "ReadOnly"})
    expect(made.status == 201 and made.headers["Location"] == ACCOUNTS + "/members", made)
    expect(made.json()["@odata.id"] == made.headers["Location"], made)
    expect(client.ask("DELETE", made.headers["Location"]).status in (200, 204), made)
    again = client.ask("DELETE", made.headers["Location"])
    expect(again.status == 404 and is_error(again), again)
    refused = client.ask("POST", ACCOUNTS, {"UserName": "members"})
    expect(refused.status == 400 and refused.headers["Location"] is None, refused)


# --- sessions

def rule_a_login_makes_a_session(client):
    root, service = client.get(ROOT).json(), client.get(SESSION_SERVICE).json()
    expect(root["Links"]["Sessions"] == service["Sessions"], root["Links"])
    first, second = client.log_in(), client.log_in(path=SESSIONS + "/Members")
    for made in (first, second):
        expect(made.status == 201, made)
        expect(re.fullmatch("[0-9a-f]{32,}", made.headers["X-Auth-Token"]), "the token")
        expect({"@odata.id", "@odata.type", "Id", "Name", "UserName"} <= made.json().keys(), made)
        expect(made.json()["Password"] is None, made)
    expect(first.headers["Location"] != second.headers["Location"], first)
    expect(first.headers["X-Auth-Token"] != second.headers["X-Auth-Token"], "the same token")
    token = {"Authorization": None, "X-Auth-Token": first.headers["X-Auth-Token"]}
    expect(client.get(SESSIONS, **token).status == 200, "with the token")
    expect(client.ask("DELETE", first.headers["Location"], **token).status == 204, "logging out")
    ended = client.get(SESSIONS, **token)
    expect(ended.status == 401 and ended.headers["WWW-Authenticate"], ended)
    expect(client.ask("DELETE", second.headers["Location"]).status == 204, "the second session")


def rule_wrong_credentials_are_not_repeated(client):
    token = "rfpv9e40b1f54c8a"
    for answer in (client.ask("GET", SESSIONS, **client.basic("stranger", "Wrong-secret-1")),
                   client.ask("GET", ROOT + "Nothing", Authorization=None, X_Auth_Token=token),
                   client.log_in("stranger", "Wrong-secret-1")):
        expect(answer.status == 401 and is_error(answer), answer)
        text = answer.body.decode()
        expect("Wrong-secret-1" not in text and token not in text and "stranger" not in text, text)
    expect("Wrong-secret-1" not in client.server.redfish_log(), "the log")
    expect(token not in client.server.redfish_log(), "the log")
    expect(client.server.password not in client.server.redfish_log(), "the log")


# --- events

def open_stream(client, **headers):
    """The response of a new stream, which ends when it is closed, and the path of its subscription."""
    before = set(references(client.get(SUBSCRIPTIONS).json()))
    connection = client.server.connect(BOUND)
    fields = {**client.server.basic(), **headers}
    connection.request("GET", client.get(EVENTS).json()["ServerSentEventUri"],
                       headers={name: value for name, value in fields.items() if value})
    response = connection.getresponse()  # it takes the connection over, which is not kept alive
    new = []
    if response.status == 200:
        response.readline()  # it is open
        new = sorted(set(references(client.get(SUBSCRIPTIONS).json())) - before)
        expect(len(new) == 1, new)
    return response, new[0] if new else None


def has_ended(client, path):
    deadline = time.monotonic() + BOUND
    while client.get(path).status == 200 and time.monotonic() < deadline:
        time.sleep(0.05)
    return client.get(path).status == 404


def rule_events_come_as_a_stream(client):
    for accept in ("text/event-stream", "text/event-stream;charset=utf-8"):
        response, path = open_stream(client, Accept=accept)
        expect(response.status == 200, response.status)
        expect(response.headers["Content-Type"] == accept, response.headers)
        shown = client.get(path).json()
        expect(isinstance(shown["Context"], str) and shown["SubscriptionType"] == "SSE", shown)
        sent = client.ask("POST", EVENTS + "/Actions/EventService.SubmitTestEvent",
                          {"MessageId": "Base.1.22.Success"})
        expect(sent.status == 204, sent)
        line = b""
        while not line.startswith(b"data:"):
            line = response.readline()
            expect(line, "the stream ended")
        events = json.loads(line[5:])["Events"]
        expect([event["MemberId"] for event in events] == [str(i) for i in range(len(events))],
               events)
        response.close()
        expect(has_ended(client, path), path)
    answer = client.get(client.get(EVENTS).json()["ServerSentEventUri"], Accept="application/json")
    expect(answer.status == 406 and is_error(answer), answer)


def rule_a_stream_ends_with_its_subscription_and_not_with_the_session(client):
    session = client.log_in()
    response, path = open_stream(client, **{"Authorization": None,
                                            "X-Auth-Token": session.headers["X-Auth-Token"]})
    expect(client.ask("DELETE", session.headers["Location"]).status == 204, session)
    time.sleep(2)  # those that may no longer are looked for each second
    expect(client.get(path).status == 200, path)
    expect(client.ask("DELETE", path).status == 204, path)
    while response.readline():
        pass
    expect(client.get(path).status == 404, path)


# --- accounts

def rule_there_are_the_predefined_roles(client):
    wanted = {
        "Administrator": {"Login", "ConfigureManager", "ConfigureUsers", "ConfigureComponents",
                          "ConfigureSelf"},
        "Operator": {"Login", "ConfigureComponents", "ConfigureSelf"},
        "ReadOnly": {"Login", "ConfigureSelf"}}
    found = {}
    for member in client.get(ROLES).json()["Members"]:
        role = client.get(member["@odata.id"]).json()
        found[role["Id"]] = set(role["AssignedPrivileges"])
        answer = client.ask("PATCH", member["@odata.id"], {"AssignedPrivileges": ["Login"]})
        expect(answer.status == 405, answer)
    expect(found == wanted, found)


def rule_users_do_what_their_privileges_allow(client):
    path, name, password = client.account()
    other = client.account()[0]
    user = client.basic(name, password)
    for answer in (client.ask("PATCH", other, {"Password": "Password-y"}, **user),
                   client.ask("PATCH", path, {"RoleId": "Administrator"}, **user),
                   client.ask("PATCH", path, {"RoleId": "Administrator"}, If_Match='"none"', **user),
                   client.ask("GET", other, **user),
                   client.ask("DELETE", path, **user),
                   client.ask("POST", ACCOUNTS, {"UserName": "z"}, **user),
                   client.ask("PATCH", ACCOUNT_SERVICE, {"AccountLockoutThreshold": 1}, **user),
                   client.ask("PATCH", SESSION_SERVICE, {"SessionTimeout": 60}, **user),
                   client.ask("PATCH", SETTINGS, {"Attributes": {}}, **user),
                   client.ask("POST", RESET, {"ResetType": "ForceRestart"}, **user)):
        expect(answer.status == 403 and ids(answer) == ["InsufficientPrivilege"], answer)
    for read in (ROOT + "Systems", SYSTEM, BIOS, SETTINGS, ACCOUNTS, path, SESSIONS, ROLES):
        expect(client.ask("GET", read, **user).status == 200, read)
    changed = client.ask("PATCH", path, {"Password": "Password-z"}, **user)
    expect(changed.status == 200 and changed.json()["Password"] is None, changed)
    expect(client.get(SYSTEM, **user).status == 401, "the old password")


def references(value):
    """The paths in a document."""
    if isinstance(value, dict):
        if isinstance(value.get("@odata.id"), str):
            yield value["@odata.id"].partition("#")[0]
        for item in value.values():
            yield from references(item)
    elif isinstance(value, list):
        for item in value:
            yield from references(item)


def resources(client):
    """A resource of each type, by the type's name: its path and document."""
    found, waiting, seen = {}, [ROOT], {ROOT}
    while waiting:
        path = waiting.pop()
        document = client.get(path).json()
        name = document.get("@odata.type", "#.").split(".")[0][1:]
        # Pages of a log, and the registry of the BIOS, are long.
        found.setdefault(name, (path, document))
        new = {reference for reference in references(document) if reference.startswith(ROOT)} - seen
        seen |= new
        waiting.extend(sorted(new))
    return found


def needed_privileges(folder):
    """By entity and method: alternatives, each a set of privileges that are needed together."""
    files = glob.glob(os.path.join(folder, "redfish", "registries", "Redfish_*_PrivilegeRegistry.json"))
    if not files:
        return None
    with open(max(files), encoding="utf-8") as file:
        mappings = json.load(file)["Mappings"]
    return {(one["Entity"], method): [set(choice["Privilege"]) for choice in choices]
            for one in mappings for method, choices in one["OperationMap"].items()}


def rule_privileges_are_those_of_the_published_registry(client):
    needed = needed_privileges(DATA[0])
    if needed is None:
        print("  no registry of privileges in DATA_DIR")
        return
    needed["SessionCollection", "POST"] = [set()]  # a login
    needed["ServiceRoot", "GET"] = needed["ServiceRoot", "HEAD"] = [set()]
    privileges = {member["Id"]: set(member["AssignedPrivileges"]) for member in
                  (client.get(path).json() for path in references(client.get(ROLES).json())
                   if path != ROLES)}
    shown = resources(client)
    checked = 0
    for role in ("ReadOnly", "Operator"):
        path, name, password = client.account(role)
        user = client.basic(name, password)
        # What users may do with what is theirs.
        session = client.log_in(name, password).headers["Location"]
        own = {"ManagerAccount": path, "Session": session}
        for entity, (some_path, document) in sorted(shown.items()):
            if (entity, "GET") not in needed or entity == "EventDestination":
                continue
            tried = own.get(entity, some_path)
            operations = [(method, tried) for method in
                          client.get(tried).headers["Allow"].split(", ")]
            operations += [("POST", action["target"]) for action in
                           document.get("Actions", {}).values()
                           if "target" in action and entity not in own]
            for method, target in operations:
                # Nothing is changed: a member is wrong, or a condition is not met.
                body = {"Enabled": "x"} if method in ("PATCH", "POST", "PUT") else None
                fields = {"If-Match": '"none"'} if method == "DELETE" else {}
                answer = client.ask(method, target, body, **user, **fields)
                may = any(choice <= privileges[role] for choice in needed[entity, method])
                expect((answer.status == 403) != may and answer.status != 401,
                       (role, method, target, needed[entity, method], answer))
                checked += 1
    expect(checked > 100, f"only {checked} operations")


def rule_a_password_can_have_to_be_changed(client):
    path, name, password = client.account()
    tag = client.get(path).headers["ETag"]
    expect(client.ask("PATCH", path, {"PasswordChangeRequired": True}, If_Match=tag).status == 200,
           path)
    session = client.log_in(name, password)
    expect(session.status == 201 and "PasswordChangeRequired" in ids(session), session)
    user = client.basic(name, password)
    own = client.ask("GET", path, **user)
    expect(own.status == 200 and own.json()["PasswordChangeRequired"] is True, own)
    for refused in (client.ask("GET", SESSIONS, **user), client.ask("GET", SYSTEM, **user),
                    client.ask("PATCH", SETTINGS, {"Attributes": {}}, **user)):
        expect(refused.status == 403 and ids(refused) == ["PasswordChangeRequired"], refused)
        expect(path in refused.body.decode(), refused)
    expect(client.ask("GET", ROOT, **user).status == 200, "the root")
    changed = client.ask("PATCH", path, {"Password": "Password-n"}, If_Match=own.headers["ETag"],
                         **user)
    expect(changed.status == 200 and changed.json()["PasswordChangeRequired"] is False, changed)
    expect(client.ask("GET", SYSTEM, **client.basic(name, "Password-n")).status == 200, name)


def rule_the_account_service_shows_its_rules(client):
    service = client.get(ACCOUNT_SERVICE).json()
    for name in ("AccountLockoutThreshold", "AccountLockoutDuration",
                 "AccountLockoutCounterResetAfter", "AuthFailureLoggingThreshold",
                 "MinPasswordLength", "MaxPasswordLength"):
        expect(isinstance(service[name], int), name)
    least, most = service["MinPasswordLength"], service["MaxPasswordLength"]
    path = client.account()[0]
    for password, status in (("p" * (least - 1), 400), ("p" * least, 200), ("p" * most, 200),
                             ("p" * (most + 1), 400)):
        answer = client.ask("PATCH", path, {"Password": password})
        expect(answer.status == status, (len(password), answer))
    timeouts = client.get(SESSION_SERVICE).json()
    expect(30 <= timeouts["SessionTimeout"] <= 86400, timeouts)
    for value, status in ((29, 400), (30, 200), (86400, 200), (86401, 400), ("60", 400),
                          (timeouts["SessionTimeout"], 200)):
        answer = client.ask("PATCH", SESSION_SERVICE, {"SessionTimeout": value})
        expect(answer.status == status, (value, answer))


# --- TLS and HTTP

def rule_tls_is_current_and_its_certificate_trusted(client):
    def version_of(least, most):
        context = ssl.create_default_context(cafile=client.server.certificate)
        context.minimum_version, context.maximum_version = least, most
        with socket.create_connection(("127.0.0.1", client.server.port), 10) as raw:
            with context.wrap_socket(raw, server_hostname="localhost") as secure:
                return secure.version()
    versions = ssl.TLSVersion
    expect(version_of(versions.TLSv1_2, versions.TLSv1_2) == "TLSv1.2", "TLS 1.2")
    expect(version_of(versions.TLSv1_2, versions.TLSv1_3) == "TLSv1.3", "TLS 1.3")
    warnings.simplefilter("ignore", DeprecationWarning)  # about the old versions
    try:
        shown = version_of(versions.TLSv1, versions.TLSv1_1)
    except (OSError, ValueError):
        shown = None
    expect(shown is None, shown)


def raw_status(client, request):
    """The status of the answer to these bytes; 0 if the connection is closed without one."""
    context = ssl.create_default_context(cafile=client.server.certificate)
    with socket.create_connection(("127.0.0.1", client.server.port), 20) as raw:
        with context.wrap_socket(raw, server_hostname="127.0.0.1") as secure:
            try:
                secure.sendall(request)
                answer = b""
                while b"\r\n" not in answer:
                    part = secure.recv(4096)
                    if not part:
                        return 0
                    answer += part
            except OSError:
                return 0
    return int(answer.split()[1])


def rule_hostile_requests_get_their_answer(client):
    host = f"Host: 127.0.0.1:{client.server.port}\r\n".encode()
    line = b"GET /redfish HTTP/1.1\r\n"
    end = b"\r\n"
    for request, wanted in (
            (line + host + end, 200),
            (b"GET /redfish HTTP/1.0\r\n" + host + end, 200),
            (line + end, 400),
            (line + host + host + end, 400),
            (line + b"Host: evil.example\r\n" + end, 421),
            (b"GET /redfish HTTP/2.0\r\n" + host + end, 505),
            (b"GET /redfish HTTP/1.1 x\r\n" + host + end, 400),
            (b"GET  /redfish HTTP/1.1\r\n" + host + end, 400),
            (b"get /redfish HTTP/1.1\r\n" + host + end, 501),
            (b"GET /redfish/v1/../../etc/passwd HTTP/1.1\r\n" + host + end, 400),
            (b"GET /redfish%2fv1 HTTP/1.1\r\n" + host + end, 400),
            (b"GET /redfish/%00 HTTP/1.1\r\n" + host + end, 400),
            (b"GET /redfish/\xff HTTP/1.1\r\n" + host + end, 400),
            (b"GET /redfish/%ff HTTP/1.1\r\n" + host + end, 400),
            (b"GET /" + b"a" * 9000 + b" HTTP/1.1\r\n" + host + end, 414),
            (line + host + b"X: " + b"a" * 20000 + end + end, 431),
            (line + host + b"".join(b"X-%d: a\r\n" % i for i in range(200)) + end, 431),
            (line + host + b" folded\r\n" + end, 400),
            (line + host + b"Bad Name: x\r\n" + end, 400),
            (line + host + b"X: \x00\r\n" + end, 400),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Content-Length: -1\r\n" + end, 400),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Content-Length: 1\r\nContent-Length: 2\r\n" +
             end + b"x", 400),
            (b"POST /redfish HTTP/1.1\r\n" + host +
             b"Content-Length: 1\r\nTransfer-Encoding: chunked\r\n" + end + b"0\r\n\r\n", 400),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Transfer-Encoding: gzip\r\n" + end, 501),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Content-Length: 99999999999999999999\r\n" + end,
             400),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Content-Length: 999999999\r\n" + end, 413),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Content-Encoding: gzip\r\nContent-Length: 1\r\n" +
             end + b"x", 415),
            (b"POST /redfish HTTP/1.1\r\n" + host + b"Expect: magic\r\nContent-Length: 1\r\n" + end,
             417),
            (line + host + b"Origin: https://evil.example\r\n" + end, 403),
            (b"\x16\x03\x01" * 100 + b"\r\n\r\n", 400)):
        status = raw_status(client, request)
        expect(status == wanted, (request[:80], status, wanted))
    # Another request does not notice.
    expect(client.get(ROOT).status == 200, "afterwards")


def check(server):
    failed = []
    rules = [(name, rule) for name, rule in globals().items() if name.startswith("rule_")]
    for name, rule in rules:
        client = Client(server)
        try:
            rule(client)
        except Exception:  # pylint: disable=broad-except # every rule is checked
            failed.append(name[len("rule_"):].replace("_", " ") + "\n" + traceback.format_exc())
        client.connection.close()
    print(f"{len(rules)} rules, {len(failed)} broken")
    require(not failed, "\n".join(failed))


if __name__ == "__main__":
    DATA.append(sys.argv[2])
    sys.exit(run_test(check, sys.argv[1], registry_file=REGISTRY))
