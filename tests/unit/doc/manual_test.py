"""The manual in doc/html: valid pages, links that lead somewhere, two languages that say the
same. manual_test.py SOURCES
"""

import pathlib
import shutil
import sys
import tempfile
import unittest

import manual_pages

SOURCES = pathlib.Path(sys.argv.pop(1) if len(sys.argv) > 1 else ".")
MANUAL = SOURCES / "doc" / "html"


class Manual(unittest.TestCase):
    maxDiff = None

    def test_every_page_is_valid(self):
        faults = [fault for language, prefix in manual_pages.LANGUAGES.items() for file in manual_pages.FILES
                  for fault in manual_pages.faults_of_page(MANUAL, prefix + file, language)]
        self.assertEqual(faults, [])

    def test_every_link_leads_to_a_place_in_the_manual(self):
        self.assertEqual(manual_pages.faults_of_links(MANUAL), [])

    def test_the_style_leaves_colours_alone_and_loads_nothing(self):
        self.assertEqual(manual_pages.faults_of_style(MANUAL), [])

    def test_both_languages_have_the_same_pages_and_headings(self):
        self.assertEqual(manual_pages.faults_of_languages(MANUAL), [])


class Checks(unittest.TestCase):
    """That the checks above find what they are there for, in a copy of the sources."""

    def setUp(self):
        self.copy = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.copy)
        shutil.copytree(SOURCES / "doc", self.copy / "doc")
        self.manual = self.copy / "doc" / "html"

    def change(self, file, old, new):
        path = self.copy / file
        text = path.read_text(encoding="utf-8")
        self.assertIn(old, text)
        path.write_text(text.replace(old, new, 1), encoding="utf-8")

    def test_links_out_of_the_manual_or_to_nowhere_are_found(self):
        for link, fault in (("settings.html", "leads nowhere"), ("../secret.htm", "leads out of the manual"),
                            ("https://example.org/", "leads out of the manual"),
                            ("//example.org/x", "leads out of the manual"), ("/etc/passwd", "leads out of the manual"),
                            ("settings.htm#nothing", "has no such anchor")):
            with self.subTest(link):
                self.change("doc/html/limits.htm", "<p>No scanner", f'<p><a href="{link}">x</a> No scanner')
                self.assertEqual(manual_pages.faults_of_links(self.manual), [f"limits.htm: {link} {fault}"])
                self.change("doc/html/limits.htm", f'<a href="{link}">x</a> ', "")

    def test_what_is_no_valid_page_is_found(self):
        for old, new in (("</p>", ""), ("<p>No scanner", "<p><ul><li>x</li></ul>No scanner"),
                         ("<p>No scanner", '<p style="color: red">No scanner'),
                         ("<p>No scanner", "<p><img/>No scanner"), ('<meta charset="utf-8"/>', ""),
                         ("<h2 ", '<h2 id="bounds">x</h2><h2 '), ("<title>What", "<title>How"),
                         ('lang="en"', 'lang="de"'), ("<ul>", "<ul>text"), ("<li>", "<li></li><li>")):
            with self.subTest(new):
                self.change("doc/html/limits.htm", old, new)
                self.assertNotEqual(manual_pages.faults_of_page(self.manual, "limits.htm", "en"), [])
                shutil.copy(MANUAL / "limits.htm", self.manual / "limits.htm")

    def test_languages_that_differ_are_found(self):
        self.change("doc/html/de/limits.htm", 'id="bounds"', 'id="grenzen"')
        self.change("doc/html/de/about.htm", "<li>", "<li>Noch etwas.</li><li>")
        self.assertEqual([fault.split(":")[0] for fault in manual_pages.faults_of_languages(self.manual)],
                         ["limits.htm", "about.htm"])
        (self.manual / "de" / "about.htm").unlink()
        self.assertEqual(len(manual_pages.faults_of_languages(self.manual)), 2)

    def test_a_page_that_is_not_listed_is_found(self):
        self.change("doc/html/home.htm", '<a href="mirror.htm">', '<a href="updates.htm">')
        self.assertEqual(manual_pages.faults_of_links(self.manual), ["home.htm: the contents are not the pages"])

    def test_colours_and_loading_styles_are_found(self):
        for rule in ("p { color: red }", "p { background-color: white }", '@import "x.css";', "p { border: 1px }"):
            with self.subTest(rule):
                (self.manual / "style.css").write_text(rule, encoding="utf-8")
                self.assertNotEqual(manual_pages.faults_of_style(self.manual), [])


if __name__ == "__main__":
    unittest.main()
