#!/usr/bin/python3
"""usage: ansible_test.py BUILD_DIR

Reads and changes settings with the Redfish modules of Ansible, with the tasks of modules.yml.
"""

import os
import sys

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(FOLDER, "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
import ansible
from redfish_server import BIOS, SETTINGS, require, run_test, skip


def test(server):
    inventory = os.path.join(server.folder(), "inventory.yml")
    with open(inventory, "w", encoding="ascii") as file:
        file.write(f"servers:\n  hosts:\n    node:\n      redfish_address: {server.address}\n"
                   f"      redfish_user: {server.user}\n      redfish_password: {server.password}\n")
    run = ansible.play(os.path.join(FOLDER, "modules.yml"), inventory, server.folder())
    require(run.is_good(1), f"modules.yml: {run}")
    current, pending = server.attributes(BIOS), server.attributes(SETTINGS)
    require((current["PostDelay"], current["SrIov"]) == (20, False), f"not current: {current}")
    require((pending["PostDelay"], pending["SrIov"]) == (0, True), f"no defaults: {pending}")
    require(server.password not in server.redfish_log(), "the password is in the log")


if __name__ == "__main__":
    if ansible.missing():
        skip(ansible.missing())
    sys.exit(run_test(test, sys.argv[1]))
