"""The generator refuses what the type library compiler lets pass, and writes the same page twice."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
GENERATOR = ROOT / "scripts" / "gen-automation-doc.py"
LIBRARY = (ROOT / "control" / "NorixSDK.idl").read_text(encoding="utf-8")


class GeneratorTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source = pathlib.Path(folder.name) / "library.idl"
        self.page = pathlib.Path(folder.name) / "page.md"

    def run_on(self, source, *options):
        self.source.write_text(source, encoding="utf-8")
        return subprocess.run([sys.executable, GENERATOR, "--idl", self.source, "--output", self.page, *options],
                              capture_output=True, text=True)

    def test_page_is_stable_and_check_sees_a_change(self):
        self.assertEqual(self.run_on(LIBRARY).returncode, 0)
        first = self.page.read_bytes()
        self.assertEqual(self.run_on(LIBRARY, "--check").returncode, 0)
        self.page.unlink()
        self.run_on(LIBRARY)
        self.assertEqual(self.page.read_bytes(), first)
        stale = self.run_on(LIBRARY.replace("Mutes the", "Silences the"), "--check")
        self.assertEqual(stale.returncode, 1)
        self.assertIn("stale", stale.stderr)
        self.assertEqual(self.page.read_bytes(), first)

    def test_every_link_of_the_page_leads_somewhere(self):
        self.run_on(LIBRARY)
        page = self.page.read_text(encoding="utf-8")
        headings = {re.sub(r"[^\w\- ]", "", h.lower()).replace(" ", "-") for h in re.findall(r"^## (.*)", page, re.M)}
        targets = set(re.findall(r'<a id="(.*?)">', page)) | headings
        self.assertEqual({link for link in re.findall(r"\]\(#(.*?)\)", page) if link not in targets}, set())

    def test_faults_are_refused(self):
        faults = {
            "identifier used twice": (r"id\(72\)", "id(38)", "has the identifier 38"),
            "property without default": (r"  // 80\n", "\n", "needs its default"),
            "constant that does not exist": (r"after ecsConnectFail", "after ecsConectFail", "no constant"),
            "put of another type": (r"void VideoProtocol\(\[in\] short", "void VideoProtocol([in] long", "disagree"),
            "put with another identifier": (r"\[id\(20\), propput", "[id(21), propput", "disagree"),
            "put without get": (r"void CHIndex\(", "void Channel(", "must follow its get"),
            "member without help": (r'\[id\(38\), helpstring\("[^"]*"\)\]', "[id(38)]", "needs a help string"),
            "unknown type": (r"long Connect\(\)", "float Connect()", "unknown type"),
            "cut file": (r"dispinterface _DNorixSDKEvents(.|\n)*", "dispinterface _DNorixSDKEvents", "ends early"),
        }
        for name, (pattern, replacement, message) in faults.items():
            with self.subTest(name):
                broken, count = re.subn(pattern, replacement, LIBRARY, count=1)
                self.assertEqual(count, 1)
                result = self.run_on(broken)
                self.assertEqual(result.returncode, 1, result.stderr)
                self.assertIn(message, result.stderr)
                self.assertFalse(self.page.exists())


if __name__ == "__main__":
    unittest.main()
