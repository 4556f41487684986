"""Whether docs/operation.md and docs/messages.md have every text of the service, and what makes one count as told."""

import fnmatch
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("ASPN", "PCSMaintReporter", "VICTORY", "aspn2_msgs", "face", "ioss_mcsq", "platform", "utilities")
PAGES = ("docs/operation.md", "docs/messages.md")

# Literals that nobody who runs the service reads: file, whole literal, why.
NO_TEXTS = (
    ("aspn2_msgs/*", ".*", "names of types and units of fields: docs/formats.md has the catalogue"),
    ("VICTORY/libvictory/*", ".*", "names of records, and the language of their interface"),
    ("face/HX_Topic_Helpers.cpp", r".*PubSubType", "a value of PubSubType, of which the page tells how it is made"),
    ("face/HX_TSS_Listeners.cpp", r"\w+_QOS|\w+QosPolicy", "handed to call-backs, which print nothing of them"),
    ("ASPN/CmdResponseStrings.cpp", r"[A-Z0-9_]+", "words of the topics Command and Response, for services alone"),
    ("VICTORY/OrvaneServer/OrvaneServerInbound.cpp", "PARTNUMBERS|POSTCOMPLETE", "words of these topics, too"),
    ("utilities/VersionStatus.cpp", r"[A-Z]+\d?", "words of an answer on the topic Response"),
    ("VICTORY/OrvaneServer/ComponentRows.cpp", "N/A|-PC|-KELP", "rows of the bus's configuration"),
    ("VICTORY/OrvaneServer/NavWarThreat.cpp", "TARVO-100", "a field of a threat on the bus"),
    ("VICTORY/OrvaneServer/BlendedNavigation.cpp", "[A-Z0-9_]+", "names of sources on the bus"),
    ("VICTORY/OrvaneServer/PartNumbers.cpp", "9XQ27", "a field of the bus's configuration"),
    ("VICTORY/Utilities/VictoryFaultHelper.cpp", "Fake Fault .*", "the text of a fault on the bus"),
    ("VICTORY/Utilities/VictoryXmlHelpers.cpp", "vcl:VCL|type|name|value", "XML of the bus library's own file"),
    ("VICTORY/OrvaneServer/BusService.cpp", "ASSURED_PNT_.*|updatePeriod", "XML of the bus library's own file"),
    ("PCSMaintReporter/PCSMaintReporter.cpp", "Evt", "for callers that give no prefix: the service gives one"),
    ("ASPN/*", "INVALID_SERVER_ID", "stands for the lack of a name, and is shown as an unknown ID"),
    ("VICTORY/OrvaneServer/MessageSource.h", "INVALID_SERVER_ID", "as above"),
    ("ASPN/AspnDeviceIds.cpp", "PNT-Q|ALTNAV|GPS|TARVO|TARVOSW|Sarvent|Halvex", "names of parts on the bus"),
    ("face/HX_Config*.cpp", r"HX_Config(_Helpers)?: .*| is null|path|name", "misuse by a caller"),
    ("face/HX_Config.cpp", r"w|\]\]>|xsi:noNamespaceSchemaLocation", "of the file that is read and written"),
    ("face/HX_Config_Helpers.cpp", "TRUE|FALSE", "what other services write: this one writes no configuration"),
    ("face/HX_TypedTS.cpp", "HX_TypedTS::Receive_Message.*", "misuse by a caller"),
    ("face/HX_Devmem.cpp", "alignment|thread", "words of an attribute"),
    ("face/HX_TSS_Settings.cpp", r"127\.0\.0\.1", "the address of this host, by which UDP stays on it"),
    ("ioss_mcsq/GssipMcsq.cpp", "unused_name", "a name that nothing looks at"),
    ("ioss_mcsq/gps_msgs.cpp", "(Bad|No) .*checksum.*", "the service verifies and makes no checksums"),
    ("platform/FPGA.cpp", "Sarvent FPGA Firmware:, |,.*,|Rev:|:00", "an answer for other services of the unit"),
    ("utilities/AngleUtility.cpp", ".*maxrange.*", "misuse by a caller"),
    ("utilities/VersionStatus.cpp", "basic_string.*", "misuse by a caller"),
    ("utilities/ClockOSRealtime.cpp", ".*", "a self-test that the service does not run"),
    ("utilities/matrix3d.cpp", ".*", "not used by the service"),
    ("utilities/vector3d.cpp", ".*", "not used by the service"),
    ("utilities/LockRank.h", ".*", "debug builds alone check ranks"),
    ("utilities/*Mutex.h", ".*mutex", "words of an annotation"),
    ("utilities/ThreadAnnotations.h", "mutex", "a word of an annotation"),
    ("utilities/ConsoleStreamBuffer.cpp", "line", "an exception that is caught in the same place"),
    ("utilities/Console*.cpp", "w", "how a file is opened"),
    ("utilities/COutputRedirector.cpp", "w", "how a file is opened"),
    ("utilities/OpenAgain.cpp", ".*", "paths within the process and of its terminal"),
    ("utilities/StringUtils.cpp", r".*\\f\\v", "blanks"),
)

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#[ \t]*(?:include|pragma)[^\n]*)
      | (?P<raw>R"(?P<mark>[^(\s"]*)\((?P<rawText>.*?)\)(?P=mark)")
      | "(?P<text>(?:[^"\\\n]|\\.)*)"
      | '(?P<character>(?:[^'\\\n]|\\.)+)'
      | (?P<number>\d[\w']*)
      | (?P<other>\w+|\S)""", re.S | re.M | re.X)


def literals(source):
    """The texts of a source as it writes them; what stands side by side is one. None of a static_assert."""
    run, asserting, depth = None, False, 0
    for token in TOKEN.finditer(source):
        kind = token.lastgroup
        if kind in ("comment", "directive"):
            continue
        is_raw = token["raw"] is not None
        if is_raw or token["text"] is not None:
            if not asserting:
                run = (run or "") + (token["rawText"] if is_raw else token["text"])
            continue
        if run is not None:
            yield run
            run = None
        if token[0] == "static_assert":
            asserting, depth = True, 0
        elif asserting and token[0] in "()":
            depth += 1 if token[0] == "(" else -1
            asserting = depth > 0
    if run is not None:
        yield run


def pieces(literal):
    """What of a literal a page is searched for: between numbers and line ends, without the marks around it."""
    for part in re.split(r"%[-0-9.]*[a-zA-Z]|\\n", literal.replace('\\"', '"')):
        piece = " ".join(part.split()).strip(" :,.;()[]=<>*|-")
        if re.search("[A-Za-z]", piece):
            yield piece


def told(page):
    """What a page quotes: its blocks, and what stands between backticks, one quotation a line."""
    blocks = re.findall(r"^```[^\n]*\n(.*?)^```", page, re.S | re.M)
    rest = re.sub(r"^```.*?^```", "", page, flags=re.S | re.M)
    spans = blocks + [match[1] for match in re.findall(r"(`+)(.+?)\1", rest, re.S)]
    return "\n".join(" ".join(span.replace("\\|", "|").split()) for span in spans)


def is_told(piece, quotations):
    before = r"(?<!\w)" if re.match(r"\w", piece) else ""
    after = r"(?!\w)" if re.search(r"\w$", piece) else ""
    return re.search(before + re.escape(piece) + after, quotations) is not None


def is_no_text(path, literal):
    return any(fnmatch.fnmatch(path, file) and re.fullmatch(text, literal, re.S) for file, text, _ in NO_TEXTS)


def missing(sources, quotations):
    """Each text of the sources that is not quoted, behind its file."""
    return [f"{path}: {literal!r} ({piece})" for path, source in sources.items() for literal in literals(source)
            if not is_no_text(path, literal) for piece in pieces(literal) if not is_told(piece, quotations)]


def product():
    files = (file for folder in FOLDERS for file in sorted((ROOT / folder).rglob("*")) if file.suffix in (".h", ".cpp"))
    return {str(file.relative_to(ROOT)): file.read_text() for file in files}


def pages():
    return {page: (ROOT / page).read_text() for page in PAGES}


def section(page, title):
    return re.search(rf"^## {re.escape(title)}\n(.*?)(?=^## |\Z)", page, re.S | re.M)[1]


class Literals(unittest.TestCase):
    def test_neighbours_are_one_text(self):
        self.assertEqual(list(literals('f("one "\n  "text", "two");')), ["one text", "two"])

    def test_comments_includes_and_characters_are_none(self):
        self.assertEqual(list(literals('#include "a.h"\n// "b"\n/* "c" */ x = \'"\';')), [])

    def test_what_a_static_assert_says_is_none(self):
        self.assertEqual(list(literals('static_assert(f(1) == 2, "no");\ng("yes");')), ["yes"])

    def test_raw_text_is_taken_whole(self):
        self.assertEqual(list(literals('f(R"x(a "b")x");')), ['a "b"'])

    def test_separators_of_digits_begin_no_character(self):
        self.assertEqual(list(literals("f(1'000, \"text\", 2'000);")), ["text"])

    def test_numbers_and_line_ends_divide_a_literal(self):
        self.assertEqual(list(pieces(r"Data:%3u of %04X words\nnext line")), ["Data", "of", "words", "next line"])

    def test_marks_alone_are_no_text(self):
        self.assertEqual(list(pieces("!!!!!! ")) + list(pieces("): ")), [])


class Quotations(unittest.TestCase):
    def test_a_text_that_is_not_quoted_is_missing(self):
        self.assertEqual(missing({"a.cpp": 'say("Never told.");'}, told("Never told.")),
                         ["a.cpp: 'Never told.' (Never told)"])

    def test_a_quoted_text_is_told(self):
        self.assertEqual(missing({"a.cpp": 'say("Told ", n, " times.");'}, told("| `Told N times.` | now |")), [])

    def test_a_block_is_told(self):
        self.assertTrue(is_told("in a block", told("```\nit is in  a\nblock\n```\n")))

    def test_a_part_of_a_word_is_not_told(self):
        self.assertFalse(is_told("Size", told("`BlockSize`")))

    def test_two_quotations_make_no_third(self):
        self.assertFalse(is_told("one two", told("`one` `two`")))


class Manual(unittest.TestCase):
    def test_every_text_is_told(self):
        self.assertEqual(missing(product(), "\n".join(map(told, pages().values()))), [])

    def test_every_reason_is_needed(self):
        texts = [(path, literal) for path, source in product().items() for literal in literals(source)]
        idle = [(file, text) for file, text, _ in NO_TEXTS
                if not any(fnmatch.fnmatch(path, file) and re.fullmatch(text, literal, re.S) for path, literal in texts)]
        self.assertEqual(idle, [])

    def test_every_signal_is_told(self):
        entry = product()["VICTORY/OrvaneServer/OrvaneServerMain.cpp"]
        caught = set(re.findall(r"\bSIG(?!_)[A-Z]+\b", entry))
        self.assertGreater(len(caught), 9)
        self.assertEqual(caught - set(re.findall(r"\bSIG[A-Z]+\b", pages()["docs/operation.md"])), set())

    def test_every_exit_status_is_told(self):
        sources = product()
        body = sources["VICTORY/OrvaneServer/OrvaneServerMain.cpp"].split("int main(")[1]
        statuses = {int(number) & 0xFF for number in re.findall(r"\breturn (-?\d+);", body)}
        for source in sources.values():
            statuses |= {int(number) & 0xFF for number in re.findall(r"\b_?exit\((-?\d+)\)", source)}
        self.assertLessEqual({0, 1, 255}, statuses)
        rows = re.findall(r"^\| (\d+) \|", section(pages()["docs/operation.md"], "Exit status"), re.M)
        self.assertEqual(statuses - set(map(int, rows)), set())

    def test_every_key_of_the_test_console_is_told(self):
        source = product()["VICTORY/Utilities/VictoryFaultHelper.cpp"]
        keys = set(re.findall(r"'(\w)'", source)) | set("0123456789")
        self.assertLessEqual(set("hzpodgea"), keys)
        cells = re.findall(r"^\| ([^|]*) \|", section(pages()["docs/operation.md"], "The test console"), re.M)
        self.assertEqual(keys - {key for cell in cells for key in re.findall(r"`(\w)`", cell)}, set())

    def test_every_row_of_the_messages_says_what_to_do(self):
        rows = re.findall(r"^\|(.*)\|$", pages()["docs/messages.md"], re.M)
        self.assertGreater(len(rows), 80)
        self.assertEqual([row for row in rows if not all(cell.strip() for cell in re.split(r"(?<!\\)\|", row))], [])


if __name__ == "__main__":
    unittest.main()
