"""What is left to the service by its unit file, and that it is enough: confined_test.py [BUILD-FOLDER]"""

import ctypes
import os
import pathlib
import re
import shlex
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
UNIT = ROOT / "packaging/orvane-server.service"
CONFINED = ROOT / "packaging/confined"
BUILD = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 and sys.argv[1][0] != "-" else None


def confined(*command):
    return subprocess.run([CONFINED, UNIT, *command], capture_output=True, text=True, check=False)


def is_possible():
    try:
        ctypes.CDLL("libseccomp.so.2")
    except OSError:
        return False
    return shutil.which("systemd-analyze") is not None


@unittest.skipUnless(is_possible(), "no libseccomp or no systemd-analyze is here")
class Process(unittest.TestCase):
    def answer(self, statement):
        """The error that a statement of Python gets, or none."""
        ended = confined("python3", "-c", "import ctypes, errno, mmap, os, socket\n"
                         f"try:\n    {statement}\n    print('none')\n"
                         "except OSError as failed: print(errno.errorcode[failed.errno])")
        self.assertEqual(ended.stderr, "")
        return ended.stdout.strip()

    def test_sockets_of_three_kinds_are_left(self):
        self.assertEqual(self.answer("socket.socket(socket.AF_INET, socket.SOCK_DGRAM)"), "none")
        self.assertEqual(self.answer("socket.socket(socket.AF_UNIX)"), "none")
        self.assertEqual(self.answer("socket.socket(socket.AF_NETLINK, socket.SOCK_RAW)"), "none")
        self.assertEqual(self.answer("socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM)"), "EAFNOSUPPORT")
        self.assertEqual(self.answer("socket.socket(socket.AF_VSOCK)"), "EAFNOSUPPORT")

    def test_the_service_manager_can_be_told(self):
        with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(folder + "/notify")
            told = "socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM).sendto(b'READY=1', %r)" % manager.getsockname()
            self.assertEqual(self.answer(told), "none")
            self.assertEqual(manager.recv(64, socket.MSG_DONTWAIT), b"READY=1")

    def test_no_memory_is_written_and_run(self):
        self.assertEqual(self.answer("mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE)"), "none")
        self.assertEqual(self.answer("mmap.mmap(-1, 4096, prot=mmap.PROT_WRITE | mmap.PROT_EXEC)"), "EPERM")

    def test_the_machine_and_its_time_are_out_of_reach(self):
        self.assertEqual(self.answer("os.chroot('/')"), "EPERM")
        self.assertEqual(self.answer("os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(1))"), "EPERM")
        self.assertEqual(self.answer("os.nice(1)"), "EPERM")

    def test_no_file_is_given_to_anybody(self):
        with tempfile.NamedTemporaryFile() as file:
            number = f"{os.getuid()}, {os.getgid()}"
            self.assertEqual(self.answer(f"os.fchown(os.open({file.name!r}, os.O_RDWR), {number})"), "EPERM")
            self.assertEqual(self.answer(f"os.chown({file.name!r}, {number})"), "EPERM")

    def test_no_capability_is_left(self):
        status = confined("cat", "/proc/self/status").stdout
        self.assertEqual(re.findall(r"^Cap(?:Prm|Eff|Bnd):\s*(\w+)$", status, re.M) if os.getuid() == 0 else
                         re.findall(r"^Cap(?:Prm|Eff):\s*(\w+)$", status, re.M) + ["0" * 16], ["0" * 16] * 3)


@unittest.skipUnless(BUILD and is_possible(), "there is no build here, or no filter of system calls")
class Service(unittest.TestCase):
    def test_it_joins_publishes_and_ends_in_order(self):
        with tempfile.TemporaryDirectory(dir=BUILD) as folder:
            wrapped = pathlib.Path(folder)
            (wrapped / "lab").symlink_to(BUILD / "lab")
            service = wrapped / "VICTORY/OrvaneServer/OrvaneServer"
            service.parent.mkdir(parents=True)
            words = shlex.join(map(str, (CONFINED, UNIT, BUILD / "VICTORY/OrvaneServer/OrvaneServer")))
            service.write_text(f'#!/bin/sh\nexec {words} "$@"\n')
            service.chmod(0o755)
            ended = subprocess.run([ROOT / "lab/sandbox", "--", ROOT / "lab/desk", "--build", wrapped, "--seconds", "3"],
                                   capture_output=True, text=True, check=False, timeout=120)
            if ended.returncode == 125:
                self.skipTest(ended.stderr)
            self.assertRegex(ended.stdout, r"desk: joined the inputs [1-9]\d* times")
            self.assertIn("desk: the service has ended with status 0", ended.stdout)


if __name__ == "__main__":
    unittest.main()
