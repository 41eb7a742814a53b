#!/usr/bin/python3
"""usage: take_pictures.py BUILD_DIR FOLDER

Takes the pictures of the setup page that the documentation shows. optipng or pngquant, if installed, make
them smaller.
"""

import os
import shutil
import subprocess
import sys

from page_browser import DESKTOP, PHONE, TABLET, Browser, require
from redfish_server import SETTINGS, run_test

LARGEST = 150_000  # bytes


def compress(path):
    if shutil.which("pngquant"):
        subprocess.run(["pngquant", "--force", "--skip-if-larger", "--ext", ".png", "256", path], check=False)
    if shutil.which("optipng"):
        subprocess.run(["optipng", "-quiet", "-o5", "-strip", "all", path], check=True)
    require(os.path.getsize(path) < LARGEST, f"{path} has {os.path.getsize(path)} bytes")


def take(server, folder):
    browser = Browser(server)

    def picture(name, size, scheme="light"):
        browser.show_scheme(scheme)
        browser.resize(size)
        path = os.path.join(folder, f"setup-page-{name}.png")
        browser.save_picture(path)
        compress(path)

    try:
        browser.start()
        changed = server.ask("PATCH", SETTINGS, {"Attributes": {"SetupLanguage": "Norsk"}})
        require(changed.status == 200, f"not changed: {changed}")
        browser.wait_for_text("#save-bar", "in effect after a restart")
        browser.show_menu("./Setup/Security")
        picture("dark", TABLET, "dark")
        browser.resize(DESKTOP)
        browser.show_menu("./Setup/Power")
        browser.choose("PowerRestore", "On")
        browser.control("PowerLimitOn").click()
        browser.driver.execute_script("document.activeElement.blur(); scrollTo(0, 0)")
        picture("desktop", (1400, 860))
        browser.show_menu("./Setup/System")
        browser.choose("HardwareClock", "Local Time")
        browser.resize(PHONE)
        browser.driver.execute_script("arguments[0].scrollIntoView({block: 'center'})",
                                      browser.row("SetupLanguage"))
        picture("phone", PHONE)
    finally:
        browser.close()


def main(build, folder):
    os.makedirs(folder, exist_ok=True)
    return run_test(lambda server: take(server, folder), build)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
