"""What its unit file leaves to the service."""

import ctypes
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
UNIT = ROOT / "packaging/orvane-server.service"
CONFINED = ROOT / "packaging/confined"


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

    def test_no_memory_is_written_and_run(self):
        self.assertEqual(self.answer("mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE)"), "none")
        self.assertEqual(self.answer("mmap.mmap(-1, 4096, prot=mmap.PROT_WRITE | mmap.PROT_EXEC)"), "EPERM")

    def test_the_machine_and_its_time_are_out_of_reach(self):
        self.assertEqual(self.answer("os.chroot('/')"), "EPERM")
        self.assertEqual(self.answer("os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(1))"), "EPERM")
        self.assertEqual(self.answer("os.nice(1)"), "EPERM")

    def test_a_file_is_given_its_own_owner_by_its_descriptor_only(self):
        with tempfile.NamedTemporaryFile() as file:
            number = f"{os.getuid()}, {os.getgid()}"
            self.assertEqual(self.answer(f"os.fchown(os.open({file.name!r}, os.O_RDWR), {number})"), "none")
            self.assertEqual(self.answer(f"os.chown({file.name!r}, {number})"), "EPERM")

    def test_no_capability_is_left(self):
        status = confined("cat", "/proc/self/status").stdout
        self.assertEqual(re.findall(r"^Cap(?:Prm|Eff|Bnd):\s*(\w+)$", status, re.M) if os.getuid() == 0 else
                         re.findall(r"^Cap(?:Prm|Eff):\s*(\w+)$", status, re.M) + ["0" * 16], ["0" * 16] * 3)


if __name__ == "__main__":
    unittest.main()
