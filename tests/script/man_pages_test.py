"""How script/manuals reads what a tool says, whether asciidoctor takes every page, and whether they have every key."""

import importlib.machinery
import importlib.util
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("manuals", str(ROOT / "script" / "manuals"))
manuals = importlib.util.module_from_spec(importlib.util.spec_from_loader("manuals", loader))
loader.exec_module(manuals)

HELP = """Prints what is there. It only listens.
Usage: tool [OPTIONS] FILE

Positionals:
  FILE REQUIRED               what to read

Options:
  -h,--help                   Print this help message and exit
  --rate HZ:FLOAT in [0.001 - 100000]
                              records a second
  --devices FILE=/opt/halvex/config/IODevices.xml
                              where the registers
                              are
  --no-flags                  leave [it] alone

gaps: places where numbers
are missing.

Examples:
  tool a    one
  tool b    two

Exit status: 0 if FILE is whole, 1 if it
was cut off.
"""


class Help(unittest.TestCase):
    def test_a_help_is_read_as_it_stands(self):
        page = manuals.parsed_help(HELP)
        self.assertEqual(page["about"], "Prints what is there. It only listens.")
        self.assertEqual(page["usage"], "tool [OPTIONS] FILE")
        self.assertEqual(page["entries"]["Positionals"], [manuals.Entry("FILE REQUIRED", "what to read")])
        self.assertEqual(page["entries"]["Options"], [
            manuals.Entry("-h,--help", "Print this help message and exit"),
            manuals.Entry("--rate HZ:FLOAT in [0.001 - 100000]", "records a second"),
            manuals.Entry("--devices FILE=/opt/halvex/config/IODevices.xml", "where the registers are"),
            manuals.Entry("--no-flags", "leave [it] alone")])
        self.assertEqual(page["examples"], ["tool a    one", "tool b    two"])
        self.assertEqual(page["rest"], ["gaps: places where numbers\nare missing.",
                                        "Exit status: 0 if FILE is whole, 1 if it\nwas cut off."])

    def test_a_help_without_usage_is_refused(self):
        with self.assertRaisesRegex(ValueError, "without a line \"Usage: \""):
            manuals.parsed_help("Prints.\n")

    def test_a_page_has_its_sections_in_order(self):
        text = manuals.adoc("tool", "tool", manuals.parsed_help(HELP))
        self.assertEqual(re.findall(r"^== (.*)", text, re.MULTILINE),
                         ["NAME", "SYNOPSIS", "DESCRIPTION", "ARGUMENTS", "OPTIONS", "NOTES", "EXIT STATUS", "EXAMPLES",
                          "SEE ALSO"])
        self.assertIn("\ntool - prints what is there\n", text)

    def test_marks_in_a_text_stay_what_they_are(self):
        self.assertEqual(manuals.plain("seconds to run (default: 3)"), "seconds to run (default: 3)")
        self.assertEqual(manuals.plain("leave [it] *alone*"), "pass:c[leave [it\\] *alone*]")
        self.assertEqual(manuals.plain("FILE ..."), "pass:c[FILE ...]")


@unittest.skipUnless(shutil.which("asciidoctor"), "asciidoctor is missing here")
class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.made = pathlib.Path(folder.name)
        cls.ended = subprocess.run([ROOT / "script" / "manuals", "--out", cls.made], capture_output=True, text=True,
                                   check=False)

    def test_every_page_is_made_without_a_warning(self):
        self.assertEqual((self.ended.returncode, self.ended.stderr), (0, ""))
        self.assertEqual(sorted(page.name for page in self.made.iterdir()),
                         sorted(page.stem for page in (ROOT / "docs" / "man").glob("*.adoc")))

    def test_nothing_of_the_marks_is_left_in_them(self):
        for page in self.made.iterdir():
            self.assertNotRegex(page.read_text(), r"pass:c|\\\]", page.name)

    def test_a_wrong_page_fails(self):
        with tempfile.TemporaryDirectory() as folder:
            place = pathlib.Path(folder)
            (place / "wrong.1.adoc").write_text("= wrong\n:doctype: manpage\n\n== Nothing\n")
            manuals.PAGES, kept = place, manuals.PAGES
            try:
                self.assertNotEqual(manuals.make(place / "out"), 0)
            finally:
                manuals.PAGES = kept


class Keys(unittest.TestCase):
    def test_the_pages_of_files_have_every_key_that_operation_tells(self):
        operation = (ROOT / "docs" / "operation.md").read_text()
        pages = "".join(page.read_text() for page in (ROOT / "docs" / "man").glob("*.5.adoc"))
        told = operation.split("## The top-level configuration file")[1].split("## The flag files")[0]
        keys = set(re.findall(r"`(PARAM_\d|[A-Z][A-Za-z]+)`", told)) - {"HX_Configurations"}
        keys = {key for key in keys if re.search(rf"^\|.*`{key}`.*\|", told, re.MULTILINE)}
        self.assertGreater(len(keys), 35)
        words = set(re.findall(r"\w+", pages))
        self.assertEqual(sorted(key for key in keys if key not in words), [])

    def test_the_pages_have_every_type_of_sensor(self):
        types = re.findall(r"`VAPNTC_SENSOR_TYPE_(\w+)`", (ROOT / "docs" / "operation.md").read_text())
        self.assertEqual(len(types), 21)
        page = (ROOT / "docs" / "man" / "HX_Sensor_Data.xml.5.adoc").read_text()
        self.assertEqual([kind for kind in types if not re.search(rf"\b{kind}\b", page)], [])

    def test_the_page_of_the_service_has_every_exit_status(self):
        section = (ROOT / "docs" / "operation.md").read_text().split("## Exit status")[1].split("##")[0]
        told = set(re.findall(r"\d+", " ".join(re.findall(r"^\| ([\d, ]+) \|", section, re.MULTILINE))))
        self.assertGreater(len(told), 10)
        page = (ROOT / "docs" / "man" / "OrvaneServer.8.adoc").read_text().split("== EXIT STATUS")[1].split("\n== ")[0]
        self.assertEqual(told - set(re.findall(r"\d+", page)), set())


class Scripts(unittest.TestCase):
    """Those of the lab that are no programs: their pages are written by hand."""

    def test_every_option_of_their_help_is_told(self):
        for name in ("sandbox", "desk"):
            told = subprocess.run([ROOT / "lab" / name, "--help"], capture_output=True, text=True, check=True).stdout
            options = set(re.findall(r"^  (--[a-z-]+)", told, re.M))
            self.assertGreaterEqual(len(options), 3)
            page = (ROOT / f"docs/man/lab-{name}.1.adoc").read_text()
            self.assertEqual(set(re.findall(r"^\*(--[a-z-]+)\*.*::$", page, re.M)), options, name)


if __name__ == "__main__":
    unittest.main()
