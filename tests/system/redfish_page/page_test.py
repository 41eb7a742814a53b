#!/usr/bin/python3
"""usage: page_test.py BUILD_DIR [TEST...]

Uses the setup page in Chromium as a person does, with a real Redfish service and a real settings service.
"""

import glob
import json
import os
import re
import subprocess
import sys
import tempfile
import time
import traceback

from page_browser import BOUND, DESKTOP, PHONE, TABLET, Browser, By, Keys, require
from page_registry import BULK, EVIL_CHOICE, EVIL_HELP, EVIL_MENU, EVIL_NAME, LONG, write_page_registry
from redfish_server import BIOS, RESET, RESET_BIOS, SETTINGS, RedfishServer
from scratch_server import Broken

SESSIONS = "/redfish/v1/SessionService/Sessions"

# Counts the requests of the page by method, and lets the test act before the next PATCH.
WATCH = """
window.seen = [];
const real = window.fetch;
window.fetch = async (path, options = {}) => {
  const method = options.method ?? "GET";
  window.seen.push([method, String(path), options.body ?? null, options.headers ?? {}]);
  if (method === "PATCH" && window.beforePatch) {
    const act = window.beforePatch;
    window.beforePatch = null;
    await act(real);
  }
  return real(path, options);
};
"""

# While sessionStorage has "refused", requests of paths that begin so fail.
REFUSE = """
const known = window.fetch;
window.fetch = (path, options) => {
  const refused = sessionStorage.getItem("refused");
  return refused !== null && path.startsWith(refused)
    ? Promise.resolve(new Response('{"error": {"@Message.ExtendedInfo": [{"Message": "Not now."}]}}', {status: 503}))
    : known(path, options);
};
"""

# The service shows no value of Note, as if it were a password.
CONCEAL = """
const known = window.fetch;
window.fetch = async (path, options) => {
  const answer = await known(path, options);
  if (!/[/]Bios([/]Settings)?$/.test(path) || answer.status !== 200) {
    return answer;
  }
  const body = await answer.json();
  body.Attributes.Note = null;
  return new Response(JSON.stringify(body), {status: 200, headers: answer.headers});
};
"""

# The first PATCH has the tag of another version.
STALE_TAG = """
const known = window.fetch;
let isFirst = true;
window.fetch = (path, options) => {
  if (options.method === "PATCH" && isFirst) {
    isFirst = false;
    options.headers["If-Match"] = '"other"';
  }
  return known(path, options);
};
"""


class PageTests:
    def __init__(self, server, browser):
        self.server, self.browser = server, browser

    # Helpers

    def restore(self):
        """Every value is the default again, and nobody is logged in in the browser."""
        require(self.server.ask("POST", RESET_BIOS, {}).status in (200, 204), "the defaults were refused")
        require(self.server.ask("POST", RESET, {"ResetType": "ForceRestart"}).status in (200, 204),
                "the restart was refused")
        self.browser.show_scheme("light")
        self.browser.resize(DESKTOP)
        self.browser.open("/page/icon.svg")
        self.browser.driver.execute_script("sessionStorage.clear()")

    def start(self, path="/"):
        self.browser.start(path)
        self.browser.driver.execute_script(WATCH)

    def patches(self):
        return [entry for entry in self.browser.driver.execute_script("return window.seen")
                if entry[0] == "PATCH"]

    def pending(self, *names):
        values = self.server.attributes(SETTINGS)
        return [values[name] for name in names]

    def change_elsewhere(self, **values):
        answer = self.server.ask("PATCH", SETTINGS, {"Attributes": values})
        require(answer.status == 200, f"another client was refused: {answer}")

    def save(self):
        self.browser.click("Save", "#save-bar")

    def saved(self):
        self.save()
        self.browser.wait_for("#banner-result")

    def is_disabled(self, name):
        return not self.browser.control(name).is_enabled()

    # Tests

    def test_only_who_logs_in_sees_the_settings(self):
        browser = self.browser
        browser.open()
        browser.log_in(password="wrong-password")
        browser.wait_for_text("#login-error", "wrong")
        require(not browser.find("#setup").is_displayed(), "the setup is shown without a login")
        browser.log_in()
        browser.wait_for_text("#title", "Main")
        require(browser.find("#user-name").text == "admin", "the user is not shown")
        kept = browser.driver.execute_script("return [Object.values(sessionStorage), localStorage.length, "
                                             "document.cookie]")
        require(len(kept[0]) == 1 and kept[1:] == [0, ""] and self.server.password not in kept[0][0],
                f"more than the session is kept: {kept}")
        session = json.loads(kept[0][0])
        headers = {"X-Auth-Token": session["token"], "Authorization": ""}
        require(self.server.ask("GET", BIOS, headers=headers).status == 200, "the token is not valid")
        browser.driver.refresh()
        browser.wait_for_text("#title", "Main")
        browser.click("Log out")
        browser.wait_for("#login-form")
        require(self.server.ask("GET", BIOS, headers=headers).status == 401, "the session did not end")
        browser.driver.refresh()
        browser.wait_for("#login-form")

    def test_the_name_of_the_server_is_shown(self):
        browser = self.browser
        self.start()
        browser.wait_for_text("#title", "Main")
        require(browser.driver.title == "Main – Server setup", browser.driver.title)
        path = os.path.join(self.server.root, "var/dp/vpd.txt")
        with open(path, encoding="utf-8") as file:
            text = file.read()
        try:
            with open(path, "a", encoding="utf-8") as file:
                file.write("HostName=node-<b>7\n")
            browser.driver.refresh()
            browser.wait_for_text("#server-name", "node-<b>7 · BIOS ")
            browser.wait_for_text("#title", "Main")
            require(browser.driver.title == "Main – node-<b>7", browser.driver.title)
        finally:
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)

    def test_a_history_without_changes_has_no_table(self):
        browser = self.browser
        path = os.path.join(self.server.root, "var/dp/history")
        kept = path + ".kept"
        if os.path.exists(path):
            os.rename(path, kept)
        try:
            self.start("/#/history")
            browser.wait_for_text("#view", "Nothing was changed yet.")
            require(not browser.find(".history").is_displayed(), "there is a table")
            self.change_elsewhere(Note="first")
            browser.wait_for_text(".history", "first")
            require("Nothing" not in browser.find("#view").text, browser.find("#view").text)
        finally:
            if os.path.exists(kept):
                os.rename(kept, path)

    def test_what_cannot_be_read_at_first_is_read_later(self):
        browser = self.browser
        added = browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": REFUSE})
        try:
            self.start()
            browser.driver.execute_script("sessionStorage.setItem('refused', '/redfish/v1/Registries')")
            browser.driver.refresh()
            browser.wait_for_text("#banner-unread", "Not now.")
            require(not browser.find("#finder").is_displayed(), "there is a search for nothing")
            require(not browser.button("Export settings").is_enabled(), "there is nothing to export")
            browser.driver.execute_script("sessionStorage.removeItem('refused')")
            browser.wait_for_text("#title", "Main")
            require(browser.find_all("#banner-unread") == [], "the message is still there")
            require(browser.button("Export settings").is_enabled(), "nothing can be exported")
            browser.wait_for_text("#live", "Live")
        finally:
            browser.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", added)

    def test_a_session_that_ends_during_a_dialog_keeps_the_edits(self):
        browser = self.browser
        self.start()
        browser.type("Delay", "12")
        browser.click("Review")
        browser.wait_for("dialog")
        session = json.loads(browser.driver.execute_script("return sessionStorage.getItem('session')"))
        require(self.server.ask("DELETE", session["path"]).status in (200, 204), "the session remains")
        self.change_elsewhere(Note="meanwhile")
        browser.wait_for_text("#login-error", "changes that are not saved are kept")
        require(browser.find_all("dialog") == [], "the dialog is above the login")
        browser.log_in()
        browser.wait_for_text("#save-count", "1 change not saved")
        self.saved()
        require(self.pending("Delay", "Note") == [12, "meanwhile"], f"{self.pending('Delay', 'Note')}")

    def test_a_saved_value_that_is_not_shown_is_no_longer_an_edit(self):
        browser = self.browser
        added = browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": CONCEAL})
        try:
            self.start()
            browser.type("Note", "open sesame")
            self.saved()
            require(self.pending("Note") == ["open sesame"], f"{self.pending('Note')}")
            browser.wait("nothing is unsaved", lambda: "not saved" not in browser.find("#save-bar").text)
        finally:
            browser.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", added)

    def test_another_version_of_the_same_values_is_saved_over(self):
        browser = self.browser
        self.start()
        browser.driver.execute_script(STALE_TAG)
        browser.type("Delay", "13")
        self.saved()
        require(len(self.patches()) == 2, f"{self.patches()}")
        require(self.pending("Delay") == [13], "it was not saved")

    def test_a_search_is_left_for_the_menu_where_it_began(self):
        browser = self.browser
        self.start("/#/menu/.%2FLong")
        browser.wait_for_text("#title", "Long")
        browser.find("#search").send_keys("Delay")
        browser.wait_for_text("#title", "Search")
        browser.find("#menus a[href='#/menu/.%2FLong']").click()
        browser.wait_for_text("#title", "Long")
        require(browser.find("#search").get_attribute("value") == "", "the search remains")

    def test_a_menu_of_hidden_settings_is_empty(self):
        browser = self.browser
        self.start()
        browser.show_menu("./Empty")
        browser.wait_for_text("#view", "This menu has no settings.")
        require(not browser.find(".settings").is_displayed(), "there is an empty list")

    def test_a_list_of_changes_has_those_of_others(self):
        browser = self.browser
        self.start()
        browser.find("#filter").find_element(By.CSS_SELECTOR, "[value=changed]").click()
        browser.wait_for_text("#view", "No setting was found")
        self.change_elsewhere(Delay=14)
        browser.wait("the setting", lambda: browser.row("Delay").is_displayed())
        browser.wait("the title", lambda: browser.driver.title.startswith("Changed settings"))

    def test_all_edits_are_saved_by_one_request(self):
        browser = self.browser
        self.start()
        browser.choose("Mode", "Custom")
        browser.type("Delay", "30")
        browser.type("Note", "héllo “x”")
        browser.control("Fast").click()
        require(browser.find("#save-count").text == "4 changes not saved", browser.find("#save-bar").text)
        browser.click("Review")
        browser.wait_for_text("dialog", "Delay")
        require(browser.find("dialog tbody").text.count("\n") >= 4, browser.find("dialog").text)
        browser.click("Close", "dialog")
        self.saved()
        require(self.pending("Mode", "Delay", "Note", "Fast") == ["Custom", 30, "héllo “x”", False],
                "other values were saved")
        patches = self.patches()
        require(len(patches) == 1 and patches[0][1] == SETTINGS and patches[0][3].get("If-Match"),
                f"not one PATCH with If-Match: {patches}")
        require(json.loads(patches[0][2]) == {"Attributes": {
            "Mode": "Custom", "Delay": 30, "Note": "héllo “x”", "Fast": False}}, f"PATCH: {patches}")
        require("in effect after a restart" in browser.find("#save-bar").text, browser.find("#save-bar").text)
        state = browser.part("Delay", "state")
        require(state == "From the next restart on. Now: “5”.", f"pending beside current: {state}")
        # A saved change can be taken back.
        browser.row("Delay").find_element(By.CSS_SELECTOR, "button").click()
        self.saved()
        require(self.pending("Delay") == [5], "the change was not taken back")

        browser.click("Restart…", "#save-bar")
        browser.wait_for_text("dialog", "3 saved changes")
        browser.click("Restart", "dialog")
        browser.wait_for_text("#banner-result", "restarted")
        require(self.server.attributes(BIOS)["Mode"] == "Custom", "the server did not restart")
        browser.wait("no bar is shown", lambda: not browser.find("#save-bar").is_displayed())
        browser.find("#history-link").click()
        browser.wait_for_text(".history", "Note")
        require("admin with dp_redfishd" in browser.find(".history").text, browser.find(".history").text)

    def test_settings_follow_their_dependencies_while_one_edits(self):
        browser = self.browser
        self.start()
        require(self.is_disabled("Locked") and "Mode setting is not Custom" in browser.part("Locked", "locked"),
                browser.part("Locked", "locked"))
        browser.choose("Mode", "Custom")
        require(not self.is_disabled("Locked"), "Locked is still read-only")
        browser.control("Fast").click()
        require(self.is_disabled("Grayed"), "Grayed is not gray")
        require(browser.part("Limited", "allowed") == "0 to 40", browser.part("Limited", "allowed"))
        browser.type("Limited", "60")
        require("Outside the range" in browser.part("Limited", "problem"), browser.part("Limited", "problem"))
        browser.control("Fast").click()
        require(browser.part("Limited", "problem") == "", browser.part("Limited", "problem"))
        browser.choose("Mode", "Legacy")
        require(not browser.row("Concealed").is_displayed(), "Concealed is shown")
        require(browser.control("Follower").get_attribute("value") == "30", "Follower does not follow")
        require("because Mode setting is Legacy" in browser.part("Follower", "state"),
                browser.part("Follower", "state"))
        require("1 more by dependencies" in browser.find("#save-bar").text, browser.find("#save-bar").text)
        self.saved()
        require("Follower" in browser.find("#banner-result").text, browser.find("#banner-result").text)
        require(self.pending("Mode", "Follower", "Limited") == ["Legacy", 30, 60], "other values are pending")

    def test_only_what_the_registry_shows_can_be_edited(self):
        browser = self.browser
        self.start()
        require(self.is_disabled("Fixed") and browser.part("Fixed", "locked") == "Read-only.", "Fixed")
        require(not browser.row("NeverShown").is_displayed(), "NeverShown is shown")
        order = [row.get_attribute("data-setting") for row in browser.find_all(".setting")][:3]
        require(order == ["Mode", "Delay", "Speed"], f"not by DisplayOrder: {order}")
        menus = browser.find("#menus").text
        require("Hidden" not in menus and "Other settings" in menus, menus)
        browser.show_menu("./ReadOnly")
        require(self.is_disabled("InReadOnlyMenu"), "a read-only menu can be edited")
        number = browser.driver.execute_script("location.hash = '#/menu/.%2FMain'; return 0") or "Speed"
        limits = browser.wait("Speed", lambda: [browser.control(number).get_attribute(name)
                                                for name in ("type", "min", "max", "step")])
        require(limits == ["number", "0", "100", "10"], f"limits: {limits}")

    def test_a_wrong_value_is_marked_and_not_sent(self):
        browser = self.browser
        self.start()
        for text, reason in (("55", "Not on a step"), ("110", "Outside the range"), ("", "whole number")):
            browser.type("Speed", text or Keys.BACKSPACE)
            require(reason in browser.part("Speed", "problem"), browser.part("Speed", "problem"))
        require(browser.control("Speed").get_attribute("aria-invalid") == "true", "not marked")
        browser.show_menu("./Long")
        self.save()
        browser.wait_for_text("#banner-problem", "1 value is not allowed")
        require(browser.focused().get_attribute("id") == "banner-problem", "the focus is not on the summary")
        browser.click("Speed setting", "#banner-problem")
        browser.wait("the focus is on the field", lambda: browser.focused() == browser.control("Speed"))
        require(self.patches() == [], "it was sent")
        browser.type("Speed", "60")
        self.saved()

    def test_the_reasons_of_a_refusal_are_beside_the_fields(self):
        browser = self.browser
        self.start()
        browser.type("Label", "lower case")
        require("Seems not to match" in browser.part("Label", "problem"), browser.part("Label", "problem"))
        browser.type("Delay", "30")
        self.save()
        browser.wait_for_text("#banner-problem", "Nothing was saved")
        require("Refused:" in browser.part("Label", "problem"), browser.part("Label", "problem"))
        require(browser.part("Delay", "problem") == "", "another field is marked")
        require(self.pending("Label", "Delay") == ["", 5], "something was saved")
        browser.click("Label setting", "#banner-problem")
        require(browser.focused() == browser.control("Label"), "the link does not lead to the field")
        browser.type("Label", "UPPER")
        require(browser.part("Label", "problem") == "", browser.part("Label", "problem"))
        self.saved()
        require(self.pending("Label", "Delay") == ["UPPER", 30], "it was not saved")

    def test_changes_of_others_meanwhile_keep_the_edits(self):
        browser = self.browser
        self.start()
        browser.type("Delay", "30")
        browser.type("Speed", "70")
        # Another client is faster than the request of the page.
        browser.driver.execute_script(
            "const [path, authorization] = arguments;"
            "window.beforePatch = (real) => real(path, {method: 'PATCH', credentials: 'omit', headers: {"
            "'Content-Type': 'application/json', Authorization: authorization},"
            "body: JSON.stringify({Attributes: {Delay: 40, Note: 'theirs'}})});",
            SETTINGS, self.server.basic()["Authorization"])
        self.save()
        browser.wait_for_text("#banner-conflict", "somebody else changed 2 settings")
        require("is now “40”; you want “30”" in browser.find("#banner-conflict").text,
                browser.find("#banner-conflict").text)
        require(browser.control("Delay").get_attribute("value") == "30", "the edit is lost")
        require("Somebody else changed" in browser.part("Delay", "state"), browser.part("Delay", "state"))
        require(self.pending("Delay", "Speed") == [40, 50], "it was saved over the other's change")
        self.saved()
        require(self.pending("Delay", "Speed", "Note") == [30, 70, "theirs"], "it was not saved")

    def test_discard_and_undo(self):
        browser = self.browser
        self.start()
        browser.type("Delay", "30")
        browser.choose("Mode", "Custom")
        browser.row("Mode").find_element(By.CSS_SELECTOR, "button").click()
        require(browser.find("#save-count").text == "1 change not saved", browser.find("#save-bar").text)
        browser.click("Discard")
        require(not browser.find("#save-bar").is_displayed(), "the bar remains")
        require(browser.control("Delay").get_attribute("value") == "5", "the edit remains")

    def test_a_reset_is_confirmed_first(self):
        self.change_elsewhere(Delay=30, Mode="Custom")
        browser = self.browser
        self.start()
        browser.click("Reset to defaults…")
        browser.wait_for("dialog")
        require(browser.focused().text == "Cancel", "the dangerous button has the focus")
        browser.focused().send_keys(Keys.ESCAPE)
        browser.wait("no dialog", lambda: not browser.find_all("dialog"))
        require(self.pending("Delay") == [30], "Escape did it")
        browser.click("Reset to defaults…")
        browser.click("Reset to defaults", "dialog")
        browser.wait_for_text("#banner-result", "defaults")
        require(self.pending("Delay", "Mode") == [5, "Normal"], "it was not done")

    def test_changes_of_others_are_shown_at_once(self):
        browser = self.browser
        self.start()
        browser.wait_for_text("#live", "Live")
        browser.type("Speed", "70")
        self.change_elsewhere(Delay=33, Speed=20)
        started = time.monotonic()
        browser.wait("the other value", lambda: browser.control("Delay").get_attribute("value") == "33", 4)
        print(f"  shown after {time.monotonic() - started:.2f} s")
        require(browser.control("Speed").get_attribute("value") == "70", "the edit is lost")
        require("from “50” to “20”" in browser.part("Speed", "state"), browser.part("Speed", "state"))
        # A service that starts again is found again.
        self.server.stop_redfish()
        browser.wait("the loss is shown", lambda: browser.find("#live").text != "Live")
        self.server.start_redfish()
        # Its sessions have ended with it.
        browser.wait_for("#login-form")
        require("kept" in browser.find("#login-error").text, browser.find("#login-error").text)
        browser.log_in()
        browser.wait_for_text("#live", "Live")
        require(browser.control("Speed").get_attribute("value") == "70", "the edit was not kept")
        self.saved()
        require(self.pending("Speed") == [70], "it was not saved")

    def test_without_the_settings_service_nothing_is_lost(self):
        browser = self.browser
        self.start()
        browser.type("Delay", "30")
        self.server.stop()
        try:
            browser.wait_for_text("#banner-service", "does not run")
            self.save()
            browser.wait_for_text("#banner-problem", "Nothing was saved")
            require(browser.control("Delay").get_attribute("value") == "30", "the edit is lost")
        finally:
            self.server.start()
        browser.wait("the service runs again", lambda: not browser.find_all("#banner-service"))
        self.saved()
        require(self.pending("Delay") == [30], "it was not saved")

    def test_who_may_only_read_sees_why(self):
        added = self.server.ask("POST", "/redfish/v1/AccountService/Accounts", {
            "UserName": "reader", "Password": "only-reading-7", "RoleId": "ReadOnly"})
        require(added.status in (201, 400), f"the account was refused: {added}")
        browser = self.browser
        browser.open()
        browser.log_in("reader", "only-reading-7")
        browser.wait_for_text("#banner-role", "ReadOnly, may read the settings and not change them")
        controls = browser.wait("settings", lambda: browser.find_all(".setting input, .setting select"))
        require(not any(control.is_enabled() for control in controls), "something can be edited")
        for label in ("Reset to defaults…", "Restart the server…", "Import settings…"):
            require(not browser.button(label).is_enabled(), f"{label} is possible")
        require(browser.button("Export settings").is_enabled(), "nothing can be exported")

    def test_search_and_filters(self):
        browser = self.browser
        self.start()
        search = browser.find("#search")
        search.send_keys("number 1199")
        browser.wait("the result", lambda: len(browser.find_all(".setting")) == 1)
        require(browser.row("Bulk1199").is_displayed(), "another setting was found")
        require("Bulk › Group 11" in browser.find(".group").text, browser.find(".group").text)
        browser.type("Bulk1199", "7")
        search.clear()
        search.send_keys(Keys.BACKSPACE)
        browser.find("#filter").find_element(By.CSS_SELECTOR, "[value=changed]").click()
        browser.wait_for_text("#title", "Changed settings")
        require([row.get_attribute("data-setting") for row in browser.find_all(".setting")] == ["Bulk1199"],
                "not only the changed one")
        require("1" in browser.find("#menus").text, "no menu has a count")
        search.send_keys("no such thing")
        browser.wait_for_text("#view", "No setting was found")
        search.clear()
        search.send_keys("NeverShown")
        browser.wait_for_text("#view", "No setting was found")

    def test_many_settings_are_shown_by_menus(self):
        browser = self.browser
        self.start()
        total = browser.driver.execute_script(
            "return performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd")
        require(len(browser.find_all(".setting")) < 50, "all settings are in the page")
        browser.show_menu("./Long")
        require(len(browser.find_all(".setting")) == 100, "not the first hundred")
        browser.click(f"Show 100 more of {LONG - 100}")
        require(browser.focused() == browser.control("Long100"), "the focus is not on the next setting")
        browser.click("Show 50 more of 50")
        require(len(browser.find_all(".setting")) == LONG, "not all")
        spent = browser.driver.execute_script(
            "const select = document.querySelector('.setting select'); const start = performance.now();"
            "for (let i = 0; i < 20; ++i) { select.selectedIndex = i % 2; "
            "select.dispatchEvent(new Event('change')); } return (performance.now() - start) / 20;")
        print(f"  {BULK + LONG} settings: document ready after {total:.0f} ms, an edit takes {spent:.1f} ms")
        require(spent < 500, f"an edit takes {spent} ms")

    def test_texts_of_the_registry_are_only_texts(self):
        browser = self.browser
        self.start()
        browser.show_menu("./Odd")
        require(browser.find("#title").text == EVIL_MENU, browser.find("#title").text)
        require(browser.row("Evil").find_element(By.CSS_SELECTOR, "label").text == EVIL_NAME, "the name")
        require(browser.part("Evil", "help") == EVIL_HELP, browser.part("Evil", "help"))
        browser.choose("Evil", EVIL_CHOICE)
        browser.click("Review")
        browser.wait_for_text("dialog", EVIL_CHOICE)
        browser.click("Save", "dialog")
        browser.wait_for("#banner-result")
        require(self.pending("Evil") == [EVIL_CHOICE], "it was not saved")
        browser.find("#history-link").click()
        browser.wait_for_text(".history", "<svg onload")
        browser.find("#search").send_keys("onerror")
        browser.wait_for_text("#title", "Search")
        odd = browser.driver.execute_script(
            "return [document.title, document.scripts.length, document.querySelectorAll("
            "'#content img, #content script, [onload], [onerror], [style]').length]")
        require("broken" not in odd[0] and odd[1:] == [1, 0], f"something became markup: {odd}")

    def test_the_policy_stops_scripts_of_others(self):
        browser = self.browser
        browser.open()
        browser.wait_for("#login-form")
        browser.problems()
        ran = browser.driver.execute_async_script("""
            const done = arguments[0];
            const refused = [];
            document.addEventListener("securitypolicyviolation", (event) => refused.push(event.violatedDirective));
            const script = document.createElement("script");
            try { script.textContent = "window.ran = 1"; document.body.append(script); } catch { refused.push("types"); }
            try { document.body.insertAdjacentHTML("beforeend", "<b id=markup>x</b>"); } catch { refused.push("types"); }
            const button = document.createElement("button");
            button.setAttribute("style", "color: red");
            fetch("https://192.0.2.1/").catch(() => {});
            setTimeout(() => done([window.ran ?? null, document.getElementById("markup") !== null, refused]), 300);
            """)
        browser.problems()
        require(ran[0] is None and not ran[1] and "connect-src" in ran[2], f"not stopped: {ran}")
        require(len([one for one in ran[2] if one in ("types", "require-trusted-types-for")]) >= 1, f"{ran}")

    def test_an_export_is_a_desired_state_for_dpctl(self):
        browser = self.browser
        self.change_elsewhere(Delay=30, Fast=False)
        self.start()
        for old in glob.glob(os.path.join(browser.downloads, "*")):
            os.unlink(old)
        browser.click("Export settings")
        path = browser.wait("a file", lambda: glob.glob(os.path.join(browser.downloads, "*.json")))[0]
        with open(path, encoding="utf-8") as file:
            state = json.load(file)
        require(state["RegistryVersion"] == "1.0.0" and state["Attributes"]["Delay"] == 30
                and state["Attributes"]["Fast"] is False and "Fixed" not in state["Attributes"]
                and state["ReadOnlyAttributes"] == {"Locked": "A"}, f"the file: {str(state)[:500]}")
        exported = self.server.run("dpctl", "export", "--json")
        require(exported.code == 0, f"dpctl export: {exported}")
        own = json.loads(exported.out)
        require(own["Attributes"] == state["Attributes"], "dpctl exports other values")
        self.change_elsewhere(Delay=5)
        applied = self.server.run("dpctl", "apply", "--yes", path)
        require(applied.code == 0 and self.pending("Delay") == [30], f"dpctl apply: {applied}")

    def test_an_import_shows_its_plan_and_becomes_edits(self):
        browser = self.browser
        self.start()
        state = {"RegistryVersion": "0.9", "Attributes": {
            "Delay": 30, "Main.Mode": "custom", "Speed": "70", "Fast": True, "Nothing": 1, "Label": 7,
            "Limited": 1000, "Note": None}}
        with tempfile.NamedTemporaryFile("w", suffix=".json", dir=self.server.folder(), delete=False) as file:
            json.dump(state, file)
        self.choose_file(file.name)
        browser.wait_for_text("dialog", "3 settings would change, 1 already has its value")
        text = browser.find("dialog").text
        for part in ("registry version 0.9", "Nothing: this server has no such setting",
                     "Label: 7 is not a value", "Limited: 1000. Outside the range", "Note: a list"):
            require(part in text, f"{part!r} is not in {text}")
        browser.click("Take 3 changes", "dialog")
        browser.wait_for_text("#title", "Changed settings")
        require(self.pending("Delay") == [5], "it was saved without being asked")
        self.saved()
        require(self.pending("Delay", "Mode", "Speed") == [30, "Custom", 70], "it was not saved")
        with tempfile.NamedTemporaryFile("w", suffix=".conf", dir=self.server.folder(), delete=False) as file:
            file.write("# lines\nDelay=31\r\n Fast = x\nnonsense\n")
        self.choose_file(file.name)
        browser.wait_for_text("dialog", "1 setting would change")
        require("Line 4: is not NAME=VALUE" in browser.find("dialog").text, browser.find("dialog").text)
        browser.click("Cancel", "dialog")
        with tempfile.NamedTemporaryFile("wb", suffix=".json", dir=self.server.folder(), delete=False) as file:
            file.write(b"{\"Attributes\": {\xff}}")
        self.choose_file(file.name)
        browser.wait_for_text("#banner-problem", "not a UTF-8 text")

    def choose_file(self, path):
        # The browser would open a window of the operating system.
        self.browser.driver.execute_script("HTMLInputElement.prototype.click = function () {};")
        self.browser.click("Import settings…")
        self.browser.wait("a file is asked for", lambda: self.browser.find("#state-file")).send_keys(path)

    def test_the_keyboard_is_enough(self):
        browser = self.browser
        browser.open()
        browser.wait_for("#login-form")
        browser.focused().send_keys(self.server.user, Keys.TAB)
        browser.focused().send_keys(self.server.password, Keys.ENTER)
        browser.wait_for("#title")
        browser.find("#home").send_keys(Keys.SHIFT, Keys.TAB)
        browser.wait("the skip link has the focus", lambda: browser.focused().get_attribute("id") == "skip")
        browser.focused().send_keys(Keys.ENTER)
        require(browser.focused().get_attribute("id") == "title", "the skip link leads elsewhere")
        for _ in range(12):
            browser.focused().send_keys(Keys.TAB)
            if browser.focused() == browser.control("Delay"):
                break
        require(browser.focused() == browser.control("Delay"), "Tab does not reach the setting")
        browser.focused().send_keys(Keys.ARROW_UP)
        require(browser.find("#save-count").text == "1 change not saved", "the arrow changed nothing")
        # Past the other settings to the bar.
        for _ in range(40):
            browser.focused().send_keys(Keys.TAB)
            if browser.focused().get_attribute("id") == "save-button":
                break
        browser.focused().send_keys(Keys.ENTER)
        browser.wait_for("#banner-result")
        require(self.pending("Delay") == [6], "it was not saved")
        browser.find("body").send_keys("/")
        require(browser.focused().get_attribute("id") == "search", "the key / does not search")

    def test_nothing_is_wider_than_the_screen(self):
        browser = self.browser
        self.start()
        browser.choose("Mode", "Custom")
        for size in (PHONE, TABLET, DESKTOP):
            browser.resize(size)
            for address in ("#/menu/.%2FMain", "#/menu/.%2FOdd", "#/menu/.%2FBulk", "#/history"):
                browser.driver.execute_script("location.hash = arguments[0]", address)
                browser.wait_for("#title")
                width = browser.driver.execute_script("return document.documentElement.scrollWidth")
                require(width <= size[0], f"{address} is {width} wide on {size[0]}")
        browser.resize(PHONE)
        require(not browser.find("#sidebar").is_displayed(), "the menus cover the phone")
        browser.click("Menus")
        browser.find("#menus a").send_keys(Keys.ENTER)
        browser.wait_for_text("#title", "Main")
        require(not browser.find("#sidebar").is_displayed(), "the menus stay open")

    def test_a_password_that_must_be_changed_is_changed_first(self):
        user = {"UserName": "novice", "Password": "first-password-1", "RoleId": "Operator",
                "PasswordChangeRequired": True}
        added = self.server.ask("POST", "/redfish/v1/AccountService/Accounts", user)
        require(added.status == 201, f"the account was refused: {added}")
        browser = self.browser
        browser.open()
        browser.log_in("novice", "first-password-1")
        browser.wait_for("#password-form")
        browser.find("#new-password").send_keys("another-password-2")
        browser.find("#new-password-again").send_keys("another-password-3", Keys.ENTER)
        browser.wait_for_text("#password-error", "not the same")
        again = browser.find("#new-password-again")
        again.clear()
        again.send_keys("another-password-2", Keys.ENTER)
        browser.wait_for_text("#title", "Main")
        browser.type("Delay", "30")
        self.saved()
        # An administrator may ask for it at any time.
        changed = self.server.ask("PATCH", "/redfish/v1/AccountService/Accounts/novice",
                                  {"PasswordChangeRequired": True})
        require(changed.status == 200, f"{changed}")
        browser.driver.refresh()
        browser.wait_for("#password-form")
        browser.click("Log out")
        browser.wait_for("#login-form")

    def test_the_files_have_the_headers_of_a_page(self):
        answer = self.server.ask("GET", "/", headers={"Authorization": ""})
        require(answer.status == 200 and answer.headers["Content-Type"] == "text/html; charset=utf-8", f"{answer}")
        require("script-src 'self'" in answer.headers["Content-Security-Policy"], f"{answer}")
        require(answer.headers["X-Content-Type-Options"] == "nosniff", f"{answer}")
        used = re.findall(rb'(?:src|href)="(/[^"#]+)"', answer.body)
        require(len(used) >= 4, f"the files of the page: {used}")
        for path in {entry.decode() for entry in used} | {"/favicon.ico", "/robots.txt"}:
            found = self.server.ask("GET", path, headers={"Authorization": "", "Accept-Encoding": "gzip"})
            require(found.status == 200 and found.headers["ETag"], f"{path}: {found}")
            require(found.headers["Cache-Control"] == "no-cache", f"{path}: {found}")
        kept = self.server.ask("GET", "/", headers={"If-None-Match": answer.headers["ETag"], "Authorization": ""})
        require(kept.status == 304, f"{kept}")


def main(build, *names):
    folder = tempfile.mkdtemp(prefix="dp-page-")
    server = RedfishServer(build, registry_file=write_page_registry(folder))
    subprocess.run(["rm", "-r", folder], check=True)
    failed = []
    browser = None
    try:
        server.start()
        server.start_redfish()
        browser = Browser(server)
        tests = PageTests(server, browser)
        all_names = [name for name in dir(PageTests) if name.startswith("test_")]
        for name in names or all_names:
            started = time.monotonic()
            try:
                tests.restore()
                browser.problems()
                getattr(tests, name)()
                complaints = [text for text in browser.problems() if not is_expected(text)]
                require(not complaints, f"the browser complains: {complaints}")
                print(f"passed {name} ({time.monotonic() - started:.1f} s)", flush=True)
            except (Broken, Exception) as problem:  # pylint: disable=broad-exception-caught
                failed.append(name)
                print(f"FAILED {name}: {problem}", flush=True)
                if not isinstance(problem, Broken):
                    traceback.print_exc()
                browser.save_picture(os.path.join(build, f"setup_page_{name}.png"))
    finally:
        if browser is not None:
            browser.close()
        server.close()
    print(f"{len(failed)} failed: {failed}" if failed else "done")
    return 1 if failed else 0


def is_expected(text):
    """Chromium reports each answer with an error, also those that the page handles."""
    return "Failed to load resource" in text and re.search(r"status of (400|401|403|412|503)|ERR_", text)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
