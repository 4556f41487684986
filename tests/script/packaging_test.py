"""How the service is run by systemd: what it says of the unit file, and how much the service is left exposed."""

import json
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGING = ROOT / "packaging"
UNIT = "orvane-server.service"
# Units that every service is bound to.
TARGETS = ("sysinit.target", "basic.target", "shutdown.target", "network.target", "multi-user.target")


class Machine:
    """A root of its own with the service and its unit file, and with drop-ins if there are any."""

    def __init__(self, *drop_ins):
        self._folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self._folder.name)
        units = self.root / "lib/systemd/system"
        units.mkdir(parents=True)
        for name in TARGETS:
            (units / name).write_text("[Unit]\n")
        shutil.copy(PACKAGING / UNIT, units)
        for name in drop_ins:
            (units / (UNIT + ".d")).mkdir(exist_ok=True)
            shutil.copy(PACKAGING / name, units / (UNIT + ".d"))
        program = self.root / "usr/sbin/OrvaneServer"
        program.parent.mkdir(parents=True)
        program.write_text("#!/bin/sh\n")
        program.chmod(0o755)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def analyze(self, *words):
        return subprocess.run(["systemd-analyze", *words, f"--root={self.root}", "--no-pager", UNIT],
                              capture_output=True, text=True, check=False)

    def exposure(self):
        """0 for a service that is confined wholly, to 10."""
        return float(self.analyze("security", "--offline=true").stdout.rsplit("level for", 1)[1].split()[1])

    def open_points(self):
        points = json.loads(self.analyze("security", "--offline=true", "--json=short").stdout)
        return {point["json_field"] for point in points if point["exposure"]}


@unittest.skipUnless(shutil.which("systemd-analyze"), "no systemd-analyze is here")
class Unit(unittest.TestCase):
    def test_systemd_has_nothing_to_say(self):
        for drop_ins in ((), ("registers.conf",), ("priority.conf",), ("registers.conf", "priority.conf")):
            with self.subTest(drop_ins), Machine(*drop_ins) as machine:
                verdict = machine.analyze("verify")
                self.assertEqual((verdict.returncode, verdict.stdout, verdict.stderr), (0, "", ""))

    def test_systemd_has_a_word_on_a_misspelt_key(self):
        with Machine() as machine:
            unit = machine.root / "lib/systemd/system" / UNIT
            unit.write_text(unit.read_text().replace("NoNewPrivileges", "NoNewPrivilege"))
            self.assertIn("Unknown key", machine.analyze("verify").stderr)

    def test_exposure_is_below_2_with_a_priority_or_registers(self):
        for drop_ins in ((), ("registers.conf",), ("priority.conf",)):
            with self.subTest(drop_ins), Machine(*drop_ins) as machine:
                self.assertLess(machine.exposure(), 2.0)

    def test_what_stays_open_is_what_the_page_explains(self):
        with Machine() as machine:
            self.assertEqual(machine.open_points(), {
                "RemoveIPC", "RootDirectoryOrRootImage", "PrivateDevices",
                "RestrictAddressFamilies_AF_NETLINK", "RestrictAddressFamilies_AF_UNIX",
                "RestrictAddressFamilies_AF_INET_INET6", "PrivateNetwork", "PrivateTmp", "DeviceAllow",
                "IPAddressDeny"})

    def test_registers_cost_their_device_capability_and_user_namespace_only(self):
        with Machine() as plain, Machine("registers.conf") as machine:
            self.assertEqual(machine.open_points() - plain.open_points(),
                             {"AmbientCapabilities", "CapabilityBoundingSet_CAP_SYS_RAWIO", "PrivateUsers"})

    def test_a_priority_costs_no_capability(self):
        with Machine() as plain, Machine("priority.conf") as machine:
            self.assertEqual(machine.open_points() - plain.open_points(),
                             {"RestrictRealtime", "SystemCallFilter_resources"})


class Life(unittest.TestCase):
    def lines(self):
        return (PACKAGING / UNIT).read_text().splitlines()

    def test_a_restart_comes_after_partners_have_noticed_the_end(self):
        self.assertIn("RestartSec=7", self.lines())

    def test_an_abort_a_shells_word_for_it_and_a_hang_up_are_failures(self):
        self.assertIn("Restart=on-failure", self.lines())
        self.assertIn("RestartForceExitStatus=134 SIGHUP", self.lines())

    def test_the_service_itself_tells_that_it_runs(self):
        self.assertIn("Type=notify", self.lines())
        self.assertIn("NotifyAccess=main", self.lines())

    def test_a_service_that_hangs_is_ended_by_a_signal_that_it_does_not_handle(self):
        self.assertIn("WatchdogSec=40", self.lines())
        self.assertIn("WatchdogSignal=SIGSEGV", self.lines())
        self.assertIn("Restart=on-failure", self.lines())
        entry = (ROOT / "VICTORY/OrvaneServer/OrvaneServerMain.cpp").read_text()
        self.assertIn("SIGABRT", entry)
        self.assertNotIn("SIGSEGV", entry)

    def test_the_end_has_30_seconds(self):
        self.assertIn("TimeoutStopSec=30", self.lines())


@unittest.skipUnless(shutil.which("systemd-sysusers"), "no systemd-sysusers is here")
class User(unittest.TestCase):
    def test_the_services_user_is_one_of_the_system(self):
        with tempfile.TemporaryDirectory() as root:
            (pathlib.Path(root) / "etc").mkdir()
            subprocess.run(["systemd-sysusers", f"--root={root}", PACKAGING / "orvane-server.sysusers"],
                           capture_output=True, check=True)
            name, _, number, *rest = (pathlib.Path(root) / "etc/passwd").read_text().strip().split(":")
            self.assertEqual((name, rest[1:]), ("orvane", ["VICTORY Assured PNT service", "/", "/usr/sbin/nologin"]))
            self.assertLess(int(number), 1000)


if __name__ == "__main__":
    unittest.main()
