"""What script/package packs, of programs that stand in for those of a release, and what is told of what they are made of."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "packaging"))
sys.dont_write_bytecode = True
import sbom  # noqa: E402

TOOLS = ("asciidoctor", "g++", "git", "dpkg-deb", "dpkg-shlibdeps", "dpkg-architecture")
HAS_ALL = all(map(shutil.which, TOOLS)) and (ROOT / ".git").exists()


def run(*words, **options):
    return subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, **options)


def compiled(source, place, *options):
    place.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(["g++", "-g", "-x", "c++", "-", "-o", place, *options], input=source, text=True, check=True)


def build(folder):
    """What a release leaves that is packed."""
    library = folder / "lab/libvictory/libvictory.so.5.0"
    compiled("int tell() { return 0; }", library, "-shared", "-fPIC", "-Wl,-soname,libvictory.so.5.0,--build-id")
    compiled("int tell(); int main() { return tell(); }", folder / "VICTORY/OrvaneServer/OrvaneServer", "-x", "none",
             library, "-Wl,--build-id")
    compiled('#include <cstdio>\nint main() { std::puts("# completes"); }', folder / "lab/ctl/orvanectl",
             "-Wl,--build-id")
    compiled("int main() { return 1; }", folder / "lab/unit/unit-sim", "-Wl,--build-id")


@unittest.skipUnless(HAS_ALL, f"one of {' '.join(TOOLS)} is missing here")
class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        build(cls.folder / "built")
        cls.pack("first", 1700000000)

    @classmethod
    def pack(cls, out, epoch):
        ended = run(ROOT / "script/package", "--built", cls.folder / "built", "--out", cls.folder / out, "--unchecked",
                    env={**os.environ, "SOURCE_DATE_EPOCH": str(epoch)})
        assert ended.returncode == 0, ended.stderr

    def deb(self, package):
        deb, = (self.folder / "first").glob(f"{package}_*.deb")
        return deb

    def files(self, package):
        lines = run("dpkg-deb", "--contents", self.deb(package)).stdout.splitlines()
        return [line.split()[5][2:] for line in lines if not line.startswith("d")]

    def field(self, package, name):
        return run("dpkg-deb", "--field", self.deb(package), name).stdout.strip()

    def unpacked(self, package):
        place = self.folder / "unpacked" / package
        place.mkdir(parents=True, exist_ok=True)
        run("dpkg-deb", "--extract", self.deb(package), place)
        return place

    def test_the_same_comes_twice(self):
        self.pack("second", 1700000000)
        for file in sorted((self.folder / "first").iterdir()):
            self.assertEqual(file.read_bytes(), (self.folder / "second" / file.name).read_bytes(), file.name)
        self.assertEqual(len(list((self.folder / "second").iterdir())), 6)

    def test_nothing_is_younger_than_its_source(self):
        times = {line.split()[3] for line in
                 run("dpkg-deb", "--contents", self.deb("orvane-server"), env={**os.environ, "TZ": "UTC"})
                 .stdout.splitlines()}
        self.assertEqual(times, {"2023-11-14"})

    def test_the_service_comes_without_a_bus_library_and_says_so(self):
        self.assertEqual([file for file in self.files("orvane-server") if "victory" in file.lower()], [])
        self.assertRegex(self.field("orvane-server", "Depends"), r"^libc6 .*, init-system-helpers .*, systemd \| ")
        self.assertNotIn("victory", self.field("orvane-server", "Depends"))
        self.assertIn("libvictory.so.5.0, is not in this package", self.field("orvane-server", "Description"))

    def test_the_service_comes_with_its_unit_its_user_and_its_samples(self):
        files = self.files("orvane-server")
        for file in ("usr/sbin/OrvaneServer", "lib/systemd/system/orvane-server.service",
                     "usr/lib/sysusers.d/orvane-server.conf", "lib/udev/rules.d/60-orvane-server.rules",
                     "usr/share/doc/orvane-server/examples/config/OrvaneServer.xml"):
            self.assertIn(file, files)

    def test_nothing_is_put_where_the_linker_looks(self):
        libraries = [file for file in self.files("orvane-lab") if ".so" in file]
        self.assertEqual(libraries, ["usr/lib/orvane-lab/libvictory.so.5.0"])
        self.assertFalse([file for file in self.files("orvane-lab") if file.startswith("etc/")])

    def test_the_tool_completes(self):
        place = self.unpacked("orvane-lab") / "usr/share/bash-completion/completions/orvanectl"
        self.assertEqual(place.read_text(), "# completes\n")

    def test_each_program_and_file_has_its_page(self):
        pages = {package: [file.removeprefix("usr/share/man/") for file in self.files(package)
                           if file.startswith("usr/share/man/")] for package in ("orvane-server", "orvane-lab")}
        self.assertEqual(sorted(pages["orvane-server"]),
                         ["man5/Connections.xml.5.gz", "man5/HX_Sensor_Data.xml.5.gz", "man5/IODevices.xml.5.gz",
                          "man5/OrvaneServer.xml.5.gz", "man8/OrvaneServer.8.gz"])
        for page in ("man1/orvanectl.1.gz", "man1/orvanectl-check.1.gz", "man1/unit-sim.1.gz",
                     "man1/lab-sandbox.1.gz"):
            self.assertIn(page, pages["orvane-lab"])

    def test_symbols_are_apart(self):
        sections = run("readelf", "-WS", self.unpacked("orvane-server") / "usr/sbin/OrvaneServer").stdout
        self.assertIn(".gnu_debuglink", sections)
        self.assertNotIn(".symtab", sections)
        self.assertNotIn(".debug_info", sections)
        symbols, = self.unpacked("orvane-server-dbgsym").rglob("*.debug")
        self.assertIn(".debug_info", run("readelf", "-WS", symbols).stdout)
        self.assertEqual(symbols.parent.name + symbols.stem, self.field("orvane-server-dbgsym", "Build-Ids"))

    def test_what_is_missing_is_named(self):
        ended = run(ROOT / "script/package", "--built", self.folder)
        self.assertEqual(ended.returncode, 1)
        self.assertEqual(ended.stderr, f"package: {self.folder}/VICTORY/OrvaneServer/OrvaneServer: there is no such file\n")

    def test_an_unknown_option_is_refused(self):
        ended = run(ROOT / "script/package", "--fast")
        self.assertEqual((ended.returncode, ended.stderr), (2, "package: --fast: no such option; there are --for ARCHITECTURE, "
                                                               "--built FOLDER, --out FOLDER, --unchecked\n"))

    def test_an_architecture_that_is_not_built_for_is_refused(self):
        ended = run(ROOT / "script/package", "--for", "mips")
        self.assertEqual(ended.returncode, 2)
        self.assertIn("package: mips: nothing is built for it here; there are ", ended.stderr)


def row(name, depends="", provides="", status="installed"):
    return "\t".join((name, "1+2", "amd64", "Maker <m@h>", "", depends, "", provides, name, "1", status))


class Made(unittest.TestCase):
    def installed(self, *rows):
        return sbom.installed_packages("\n".join(rows) + "\n")

    def test_alternatives_and_versions_are_read(self):
        self.assertEqual(sbom.groups("libc6 (>= 2.34), a:any | b, c [amd64]"), [["libc6"], ["a", "b"], ["c"]])
        self.assertEqual(sbom.groups(""), [])

    def test_what_is_needed_by_what_is_needed_counts(self):
        installed = self.installed(row("a", "b (>= 1)"), row("b", "a, c"), row("c"), row("d"))
        self.assertEqual(sbom.closure("a", installed), ["a", "b", "c"])

    def test_the_alternative_that_is_installed_counts(self):
        installed = self.installed(row("a"), row("b", status="config-files"), row("mail", provides="agent (= 1)"))
        self.assertEqual(sbom.closure("b | a, agent", installed), ["a", "mail"])

    def test_the_list_names_the_package_what_it_needs_and_what_is_compiled_in(self):
        installed = self.installed(row("libc6"), row("libcli11-dev"))
        control = {"Package": "orvane-lab", "Version": "0.1", "Maintainer": "M <m@h>", "Depends": "libc6"}
        made = sbom.document(control, "ab" * 32, installed, 1700000000)
        self.assertEqual(made["creationInfo"]["created"], "2023-11-14T22:13:20Z")
        self.assertEqual([package["name"] for package in made["packages"]], ["orvane-lab", "libc6", "libcli11-dev"])
        self.assertEqual([(link["spdxElementId"], link["relationshipType"], link["relatedSpdxElement"])
                          for link in made["relationships"]],
                         [("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-orvane-lab"),
                          ("SPDXRef-orvane-lab", "DEPENDS_ON", "SPDXRef-libc6"),
                          ("SPDXRef-orvane-lab", "STATIC_LINK", "SPDXRef-libcli11-dev")])

    def test_names_keep_apart_what_identifiers_can_not_hold(self):
        self.assertEqual(sbom.identifier("libstdc++6"), "SPDXRef-libstdc-2b--2b-6")


if __name__ == "__main__":
    unittest.main()
