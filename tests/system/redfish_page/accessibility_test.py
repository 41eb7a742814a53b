#!/usr/bin/python3
"""usage: accessibility_test.py BUILD_DIR AXE_FOLDER

Examines every view of the setup page with axe-core, light and dark, on a desktop and on a phone.
install.sh puts axe-core into AXE_FOLDER.
"""

import os
import sys

from page_browser import DESKTOP, PHONE, Browser, require, skip
from redfish_server import SETTINGS, run_test


class Examiner:
    def __init__(self, browser, axe):
        self._browser, self.axe = browser, axe
        self._found = []
        self.count = 0

    def examine(self, view):
        for scheme in ("light", "dark"):
            for size in (DESKTOP, PHONE):
                self._browser.show_scheme(scheme)
                self._browser.resize(size)
                self.count += 1
                for rule, nodes in self._browser.violations(self.axe):
                    for html, summary in nodes[:3]:
                        self._found.append(f"{view}, {scheme}, {size[0]}: {rule}: {html[:200]}: {summary}")
        self._browser.show_scheme("light")
        self._browser.resize(DESKTOP)

    def finish(self):
        require(not self._found, "\n".join([f"{len(self._found)} problems", *self._found[:20]]))


def examine_views(server, browser, examiner):
    browser.open()
    browser.wait_for("#login-form")
    examiner.examine("login")
    browser.log_in(password="wrong-password")
    browser.wait_for_text("#login-error", "wrong")
    examiner.examine("login, refused")
    browser.log_in()
    browser.wait_for("#title")
    examiner.examine("menu")

    changed = server.ask("PATCH", SETTINGS, {"Attributes": {"HardwareClock": "LocalTime"}})
    require(changed.status == 200, f"not changed: {changed}")
    browser.wait_for_text("#save-bar", "in effect after a restart")
    browser.type("PostDelay", "45")
    browser.type("AssetTag", "\u00e9")
    examiner.examine("pending and edited settings")
    browser.click("Save")
    browser.wait_for("#banner-problem")
    examiner.examine("a refusal")
    browser.click("Review")
    browser.wait_for("dialog")
    examiner.examine("a dialog")
    browser.click("Close", "dialog")
    browser.type("AssetTag", "A-17")
    browser.click("Save")
    browser.wait_for("#banner-result")
    examiner.examine("saved")

    for menu in ("./Setup", "./Setup/Security", "./Setup/Power"):
        browser.show_menu(menu)
        examiner.examine(menu)
    browser.find("#search").send_keys("boot")
    browser.wait_for_text("#title", "Search")
    examiner.examine("search")
    browser.find("#history-link").click()
    browser.wait("the history", lambda: browser.find_all(".history tbody tr"))
    examiner.examine("history")
    browser.click("Reset to defaults…")
    browser.wait_for("dialog")
    examiner.examine("a confirmation")
    browser.click("Cancel", "dialog")
    browser.resize(PHONE)
    browser.click("Menus")
    require(browser.find("#sidebar").is_displayed(), "the menus do not open")
    for rule, nodes in browser.violations(examiner.axe):
        require(False, f"the menus of a phone: {rule}: {nodes}")


def test(server, axe):
    browser = Browser(server)
    examiner = Examiner(browser, axe)
    try:
        examine_views(server, browser, examiner)
    finally:
        browser.close()
    examiner.finish()
    print(f"axe-core found nothing in {examiner.count} views")


def main(build, folder):
    path = os.path.join(folder, "node_modules", "axe-core", "axe.min.js")
    if not os.path.exists(path):
        skip(f"axe-core is not in {folder}; install.sh puts it there")
    with open(path, encoding="utf-8") as file:
        axe = file.read()
    return run_test(lambda server: test(server, axe), build)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
