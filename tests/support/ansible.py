"""Runs Ansible's playbooks with the Redfish modules, which are installed or unpacked in the build folder."""

import os
import re
import subprocess

from redfish_server import SOURCE, client_environment

PLAYBOOK = "/usr/bin/ansible-playbook"
MODULES = "ansible_collections/community/general/plugins/modules/redfish_info.py"
INSTALLED = "/usr/lib/python3/dist-packages"
UNPACKED = os.path.join(SOURCE, "build", "ansible")


def missing():
    """What is not there; empty if Ansible can run."""
    if not os.path.exists(PLAYBOOK):
        return "Ansible is not installed; ./dev clients installs it"
    if not any(os.path.exists(os.path.join(folder, MODULES)) for folder in (INSTALLED, UNPACKED)):
        return "Ansible's modules for Redfish are missing; ./dev clients fetches them"
    return ""


def _environment(folder):
    """The environment: Ansible keeps its files in the folder."""
    return client_environment(ANSIBLE_HOME=folder, ANSIBLE_LOCAL_TEMP=folder,
                              ANSIBLE_COLLECTIONS_PATHS=UNPACKED, ANSIBLE_NOCOLOR="1", ANSIBLE_PIPELINING="1",
                              LC_ALL="C.UTF-8")


class Outcome:
    """How a playbook ended: its exit code, its text, and the counts of each host."""

    _LINE = re.compile(r"^(\S+) +: ok=(\d+) +changed=(\d+) +unreachable=(\d+) +failed=(\d+)", re.MULTILINE)

    def __init__(self, run):
        self.code = run.returncode
        self.text = run.stdout
        self.changed = {}
        self.failed = {}
        for host, _, changed, unreachable, failed in self._LINE.findall(run.stdout):
            self.changed[host] = int(changed)
            self.failed[host] = int(unreachable) + int(failed)

    def is_good(self, hosts):
        return self.code == 0 and len(self.changed) == hosts and not any(self.failed.values())

    def __str__(self):
        return f"exit {self.code}\n{self.text[-6000:]}"


def play(playbook, inventory, folder, *options, forks=20, bound=1800):
    """Runs the playbook in its own folder."""
    run = subprocess.run(
        [PLAYBOOK, "-i", inventory, "--forks", str(forks), os.path.basename(playbook), *options],
        cwd=os.path.dirname(playbook), env=_environment(folder), text=True, check=False,
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=bound)
    return Outcome(run)
