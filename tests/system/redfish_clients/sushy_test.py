#!/usr/bin/python3
"""usage: sushy_test.py BUILD_DIR

Reads and changes settings with sushy, the client library of OpenStack Ironic. Runs with the system's
own interpreter, whose packages include it.
"""

import importlib.util
import os
import shutil
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
# pylint: disable=wrong-import-position # the folder must be known first
from redfish_server import SETTINGS, SYSTEM, client_environment, require, run_test, skip


def import_sushy(folder):
    """Imports a copy of the package: the one of Debian 12 lacks its folder of message registries,
    without which it reads no registry."""
    found = importlib.util.find_spec("sushy")
    if found is None:
        skip("python3-sushy is not installed; ./dev clients installs it")
    copy = os.path.join(folder, "sushy")
    shutil.copytree(os.path.dirname(found.origin), copy,
                    ignore=shutil.ignore_patterns("tests", "__pycache__"))
    os.makedirs(os.path.join(copy, "standard_registries"), exist_ok=True)
    sys.path.insert(0, folder)
    # pylint: disable=import-outside-toplevel,import-error # there is no other copy before
    import sushy
    require(sushy.__file__.startswith(folder), f"another sushy was imported: {sushy.__file__}")
    return sushy


def check_boot(sushy, system):
    none = sushy.BOOT_SOURCE_TARGET_NONE
    require(system.get_allowed_system_boot_source_values() == {none}, "another boot device is allowed")
    require(system.boot.enabled == sushy.BOOT_SOURCE_ENABLED_DISABLED and system.boot.mode is None,
            f"Boot: {system.json['Boot']}")
    system.set_system_boot_options(none, sushy.BOOT_SOURCE_ENABLED_DISABLED)
    try:
        system.set_system_boot_options(enabled=sushy.BOOT_SOURCE_ENABLED_ONCE)
    except sushy.exceptions.BadRequestError as error:
        require("BootSourceOverrideEnabled" in str(error), f"an override: {error}")
    else:
        require(False, "accepted an override of the boot device")


def check_services(sushy, connected):
    manager, = connected.get_manager_collection().get_members()
    require(manager.manager_type == sushy.MANAGER_TYPE_BMC and manager.firmware_version, f"{manager.json}")
    require([one.path for one in connected.get_system().managers] == [manager.path], "another manager")
    service = connected.get_session_service()
    names = {session.username for session in service.sessions.get_members()}
    require(service.session_timeout > 0 and names == {"admin"}, f"sessions: {names}")
    tasks = connected.get_task_service()
    require(tasks.service_enabled and tasks.tasks.summary == {}, f"tasks: {tasks.json}")
    events = connected.get_event_service()
    require(events.service_enabled, f"events: {events.json}")
    require(events.subscriptions.get_members() == [], "there are subscriptions")
    events.submit_test_event("7", "2026-11-22T15:25:09+01:00", "Other", "A test", [],
                             "Base.1.22.Success", SYSTEM, "OK")


def check_task(sushy, connected, server):
    # pylint: disable=protected-access # sushy itself never asks for a task
    connection = connected._conn
    accepted = connection.patch(SETTINGS, data={"Attributes": {"PostDelay": 35}},
                                headers={"Prefer": "respond-async"})
    require(accepted.status_code == 202, f"no task: {accepted}")
    monitor = sushy.taskmonitor.TaskMonitor(connection, accepted.headers["Location"])
    monitor.wait(60)
    require(monitor.response.status_code == 200, f"the task's answer: {monitor.response}")
    require(server.attributes(SETTINGS)["PostDelay"] == 35, "not pending after a task")


def check_lost_session(connected, server):
    for session in connected.get_session_service().sessions.get_members():
        require(server.ask("DELETE", session.path).status == 204, f"{session.path} was not ended")
    connected.get_system(SYSTEM).bios.refresh(force=True)


def test(sushy, server):
    # It must trust the service's certificate, and no other.
    connected = sushy.Sushy(server.url + "/redfish/v1", username=server.user,
                            password=server.password, verify=server.certificate)
    system = connected.get_system(SYSTEM)
    check_boot(sushy, system)
    check_services(sushy, connected)
    bios = system.bios
    require(bios.attributes["PostDelay"] == 0 and bios.attributes["SrIov"] is True,
            f"attributes: {bios.attributes}")

    bios.set_attribute("HardwareClock", "LocalTime")
    wanted = {"PostDelay": 25, "SrIov": False}
    bios.set_attributes(wanted, apply_time=sushy.APPLY_TIME_ON_RESET)
    bios.refresh(force=True)
    wanted["HardwareClock"] = "LocalTime"
    require(wanted.items() <= bios.pending_attributes.items(), f"not pending: {wanted}")
    require(bios.attributes["PostDelay"] == 0, "current at once")
    require(sushy.APPLY_TIME_ON_RESET in bios.supported_apply_times,
            f"apply times: {bios.supported_apply_times}")

    registry = bios.get_attribute_registry()
    require(registry is not None, "no attribute registry")
    entries = {entry.name: entry for entry in registry.registry_entries.attributes}
    require(set(entries) == set(bios.attributes), "the registry has other attributes")
    entry = entries["PostDelay"]
    require((entry.attribute_type.lower(), entry.lower_bound, entry.upper_bound) ==
            ("integer", 0, 60), f"PostDelay in the registry: {entry}")

    system.reset_system(sushy.RESET_FORCE_RESTART)
    bios.refresh(force=True)
    require(wanted.items() <= bios.attributes.items(), f"not current: {wanted}")
    outcome = bios.update_status.status
    require(outcome == sushy.resources.settings.UPDATE_SUCCESS, f"the last update: {outcome}")

    bios.reset_bios()
    bios.refresh(force=True)
    require(bios.pending_attributes["PostDelay"] == 0, "reset_bios reset nothing")

    for refused in ({"Nothing": 1}, {"PostDelay": 61}, {"PostDelay": "5"}, {"ModelName": "x"}):
        try:
            bios.set_attributes(refused)
        except sushy.exceptions.BadRequestError as error:
            require(next(iter(refused)) in str(error), f"{refused} is not named: {error}")
        else:
            require(False, f"accepted: {refused}")
    try:
        bios.set_attributes({"PostDelay": 5}, apply_time=sushy.APPLY_TIME_IMMEDIATE)
    except sushy.exceptions.BadRequestError as error:
        require("OnReset" in str(error), f"another time: {error}")
    else:
        require(False, "accepted another time")
    check_task(sushy, connected, server)
    check_lost_session(connected, server)


def main(build):
    # requests would prefer them to the service's certificate.
    kept = client_environment()
    for name in set(os.environ) - set(kept):
        del os.environ[name]
    with tempfile.TemporaryDirectory() as folder:
        sushy = import_sushy(folder)
        return run_test(lambda server: test(sushy, server), build)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
