"""The memory of processes."""

from redfish_server import Broken


def proportional_kib(process):
    """The memory of a process, with its share of what it has in common with others."""
    with open(f"/proc/{process}/smaps_rollup", encoding="ascii") as file:
        for line in file:
            if line.startswith("Pss:"):
                return int(line.split()[1])
    raise Broken(f"no Pss of process {process}")
