"""A browser that shows the setup page of a simulated server."""

import json
import os
import shutil
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import BOUND, SKIPPED, require, skip

try:
    from selenium import webdriver
    from selenium.common.exceptions import (NoSuchElementException, StaleElementReferenceException,
                                            TimeoutException)
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    print("SKIPPED: python3-selenium is not installed")
    sys.exit(SKIPPED)

DESKTOP = (1400, 900)
TABLET = (800, 1000)
PHONE = (360, 780)


class Browser:
    """Chromium without a window. It trusts the server's own certificate and nothing it needs is fetched
    from elsewhere."""

    def __init__(self, server, scheme="light"):
        chromium = shutil.which("chromium")
        driver = shutil.which("chromedriver")
        if chromium is None or driver is None:
            skip("chromium and chromium-driver are not installed")
        self.server = server
        self.downloads = os.path.join(server.folder(), "downloads")
        os.makedirs(self.downloads, exist_ok=True)
        options = Options()
        options.binary_location = chromium
        options.set_capability("acceptInsecureCerts", True)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        for option in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                       "--no-first-run", "--disable-background-networking", "--disable-sync",
                       "--lang=en-GB", "--no-proxy-server",
                       "--user-data-dir=" + os.path.join(server.folder(), "browser")):
            options.add_argument(option)
        if os.geteuid() == 0:
            options.add_argument("--no-sandbox")
        options.add_experimental_option("prefs", {"download.default_directory": self.downloads})
        environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
        environment["HOME"] = server.folder()
        self.driver = webdriver.Chrome(options=options, service=Service(driver, env=environment))
        self.driver.set_script_timeout(BOUND)
        self.show_scheme(scheme)
        self.resize(DESKTOP)

    def close(self):
        self.driver.quit()

    def resize(self, size, scale=1):
        """The size of the page, whatever is the least size of a window."""
        width, height = size
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": scale, "mobile": False})

    def show_scheme(self, scheme, **features):
        wanted = {"prefers-color-scheme": scheme, **features}
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": name, "value": value} for name, value in wanted.items()]})

    def open(self, path="/"):
        self.driver.get(self.server.url + path)

    # Finding and using elements

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def find_all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def wait(self, what, condition, bound=BOUND):
        """Waits until the condition holds, and returns its value."""
        def check(_):
            try:
                return condition()
            except (NoSuchElementException, StaleElementReferenceException):
                return False
        try:
            return WebDriverWait(self.driver, bound, poll_frequency=0.05).until(check)
        except TimeoutException:
            problems = "; ".join(self.problems())
            require(False, f"not within {bound} s: {what}. The page: {self.text()[:3000]} {problems}")
            return None

    def wait_for(self, selector):
        return self.wait(selector + " is shown", lambda: (lambda found: found.is_displayed() and found)(
            self.find(selector)))

    def wait_for_text(self, selector, text):
        return self.wait(f"{selector} has {text!r}", lambda: text in self.find(selector).text)

    def text(self):
        return self.find("body").text

    def button(self, label, inside="body"):
        """The button that is shown with this text."""
        for found in self.find_all(f"{inside} button"):
            if found.is_displayed() and found.text.strip() == label:
                return found
        raise NoSuchElementException(label)

    def click(self, label, inside="body"):
        self.wait(f"a button {label}", lambda: self.button(label, inside)).click()

    def focused(self):
        return self.driver.switch_to.active_element

    def log_in(self, user=None, password=None):
        self.wait_for("#login-form")
        for selector, text in (("#login-user", user or self.server.user),
                               ("#login-password", password or self.server.password)):
            field = self.find(selector)
            field.clear()
            field.send_keys(text)
        self.find("#login-button").click()

    def start(self, path="/"):
        """Opens the page and logs in."""
        self.open(path)
        self.log_in()
        self.wait_for("#title")

    def show_menu(self, path):
        self.driver.execute_script("location.hash = '#/menu/' + encodeURIComponent(arguments[0])", path)
        self.wait(f"the menu {path}", lambda: self.find("#menus [aria-current]").get_attribute("href")
                  == self.driver.execute_script("return location.href"))

    # Settings

    def row(self, name):
        return self.find(f".setting[data-setting='{name}']")

    def control(self, name):
        return self.row(name).find_element(By.CSS_SELECTOR, ".setting-control > :is(input, select)")

    def part(self, name, part):
        """The text of a part of a setting, "problem"; empty if it is not shown."""
        found = self.row(name).find_element(By.CSS_SELECTOR, f".setting-{part}")
        return found.text if found.is_displayed() else ""

    def choose(self, name, text):
        Select(self.control(name)).select_by_visible_text(text)

    def type(self, name, text):
        control = self.control(name)
        control.send_keys(Keys.CONTROL, "a")
        control.send_keys(text)

    def problems(self):
        """What the browser complained about since the last call: errors of scripts, refused content."""
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] in ("SEVERE", "WARNING")]

    def violations(self, axe):
        """What axe-core finds on the page as it is."""
        # The page's policy does not concern what the driver runs.
        self.driver.execute_script(axe)
        found = self.driver.execute_async_script(
            "const done = arguments[arguments.length - 1];"
            "axe.run(document, {resultTypes: ['violations']}).then((result) => done(JSON.stringify("
            "result.violations.map(({id, nodes}) => [id, nodes.map(({html, failureSummary}) => "
            "[html, failureSummary])]))));")
        return json.loads(found)

    def save_picture(self, path):
        self.driver.save_screenshot(path)
