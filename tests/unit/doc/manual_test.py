"""The manual in doc/html: valid pages, links that lead somewhere, two languages that say the same, an entry
for every message and key of the program, and nothing quoted that it does not show. manual_test.py SOURCES
"""

import pathlib
import re
import shutil
import sys
import tempfile
import unittest

import manual_pages
import manual_texts
import shown_messages

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

    def test_every_message_has_an_entry(self):
        self.assertEqual(manual_texts.missing_messages(SOURCES), [])

    def test_every_entry_is_for_a_message(self):
        self.assertEqual(manual_texts.stale_entries(SOURCES), [])

    def test_every_reason_for_a_file_not_read_has_an_entry(self):
        self.assertEqual(manual_texts.missing_reasons(SOURCES), [])

    def test_the_keys_are_those_of_the_texts(self):
        self.assertEqual(manual_texts.wrong_keys(SOURCES), [])

    def test_what_is_quoted_is_shown_by_the_program(self):
        self.assertEqual(manual_texts.unknown_texts(SOURCES), [])

    def test_every_option_and_command_is_in_a_man_page(self):
        self.assertEqual(manual_texts.unknown_options(SOURCES), [])


def _what_is_not_read(folder, names):
    """Of the product nothing but man pages and what says why files are not read."""
    if "product" not in pathlib.PurePath(folder).parts:
        return []
    return [name for name in names if re.search(r"\.(cpp|h)$", name)
            and not folder.endswith(("product/scanning", "product/scanapi"))]


class Checks(unittest.TestCase):
    """That the checks above find what they are there for, in a copy of the sources."""

    @classmethod
    def setUpClass(cls):
        cls.copy = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.copy)
        for folder in (*shown_messages.ROOMS, "translations", "doc", "packaging", "product"):
            if (SOURCES / folder).is_dir():
                shutil.copytree(SOURCES / folder, cls.copy / folder, ignore=_what_is_not_read)
        cls.manual = cls.copy / "doc" / "html"

    def setUp(self):
        self.changed = []
        self.addCleanup(self.restore)

    def restore(self):
        for file in self.changed:
            shutil.copy(SOURCES / file, self.copy / file)
        self.changed.clear()

    def write(self, file, text):
        self.changed.append(file)
        (self.copy / file).write_text(text, encoding="utf-8")

    def change(self, file, old, new):
        text = (self.copy / file).read_text(encoding="utf-8")
        self.assertIn(old, text)
        self.write(file, text.replace(old, new, 1))

    def add_function(self, code):
        file = "app/settings_page.cpp"
        self.write(file, (self.copy / file).read_text(encoding="utf-8") + code)

    def test_a_new_message_is_missed(self):
        self.change("app/settings_page.cpp", 'tr("Bad or Missing Configuration"))', 'tr("Bad news"))')
        self.assertEqual(manual_texts.missing_messages(self.copy), [
            "app/settings_page.cpp: SettingsPage::Reload: 'Bad news' has no translation in SettingsPage"])

    def test_a_new_message_with_a_translation_is_missed_in_both_languages(self):
        self.change("app/settings_page.cpp", 'tr("Bad or Missing Configuration"))', 'tr("Bad news"))')
        self.change("translations/zqscan_de.ts", "<name>SettingsPage</name>",
                    "<name>SettingsPage</name><message><source>Bad news</source>"
                    "<translation>Schlimm</translation></message>")
        place = "app/settings_page.cpp: SettingsPage::Reload"
        self.assertEqual(manual_texts.missing_messages(self.copy), [f"{place}: 'Bad news' is not in messages.htm",
                                                       f"{place}: 'Schlimm' is not in de/messages.htm"])

    def test_a_message_that_is_not_translated_is_missed(self):
        self.add_function('\nvoid Tell() {\n    ShowWarning(nullptr, kTitle, QStringLiteral("Not this"));\n}\n')
        self.assertEqual(manual_texts.missing_messages(self.copy), [
            f"app/settings_page.cpp: Tell: 'Not this' is not in {page}messages.htm" for page in ("", "de/")])

    def test_a_box_of_the_toolkit_is_looked_at_too(self):
        self.add_function('\nvoid Tell() {\n    QMessageBox::about(nullptr, title, QStringLiteral("Not this"));\n}\n')
        self.assertEqual(len(manual_texts.missing_messages(self.copy)), 2)

    def test_a_text_without_a_macro_is_missed(self):
        self.add_function('\nvoid Tell() {\n    ShowWarning(nullptr, kTitle, "Not this");\n}\n')
        self.assertEqual(len(manual_texts.missing_messages(self.copy)), 2)

    def test_boxes_and_status_bars_that_are_filled_later_are_looked_at(self):
        for code in ('QMessageBox box;\n    box.setText(QStringLiteral("Not this"));',
                     'bar->showMessage(QStringLiteral("Not this"));'):
            with self.subTest(code):
                self.add_function("\nvoid Tell() {\n    " + code + "\n}\n")
                self.assertEqual(len(manual_texts.missing_messages(self.copy)), 2)
                self.restore()

    def test_a_text_from_nobody_knows_where_is_not_passed_over(self):
        self.add_function("\nvoid Tell(const QString& words) {\n    ShowWarning(nullptr, kTitle, words);\n}\n")
        self.assertEqual(manual_texts.missing_messages(self.copy), [
            "app/settings_page.cpp: Tell: where does the text of this box come from? nullptr, kTitle, words"])

    def test_an_entry_that_was_removed_is_missed(self):
        self.change("doc/html/de/messages.htm", "Ungültiges Passwort", "Falsches Passwort")
        self.assertEqual(len(manual_texts.missing_messages(self.copy)), 1)

    def test_an_entry_for_nothing_is_found(self):
        self.change("doc/html/messages.htm", "<dt>Invalid password</dt>", "<dt>Invalid password or name</dt>")
        self.change("doc/html/de/messages.htm", "<dt>encrypted</dt>", "<dt>verschlüsselt</dt>")
        self.assertEqual(manual_texts.stale_entries(self.copy), [
            "messages.htm: the program does not say 'Invalid password or name'",
            "de/messages.htm: the program does not say 'verschlüsselt'"])

    def test_a_new_reason_is_missed(self):
        self.change("product/scanning/unread_reasons.h", '"no memory"', '"no mood"')
        self.assertEqual(manual_texts.missing_reasons(self.copy), [f"{prefix}messages.htm: 'no mood' is not explained"
                                                      for prefix in ("", "de/")])

    def test_a_key_that_changed_is_missed(self):
        self.change("translations/zqscan_de.ts", "Die ausgewählte Prüfung ändern (Alt+B)",
                    "Die ausgewählte Prüfung ändern (Alt+Q)")
        self.assertEqual(manual_texts.wrong_keys(self.copy),
                         ["de/keyboard.htm, schedule: lacks ['Q'], has [] too many"])

    def test_a_text_that_the_program_does_not_show_is_found(self):
        self.change("doc/html/de/settings.htm", "Sie „Optionen“", "Sie „Einstellen“")
        self.assertEqual(manual_texts.unknown_texts(self.copy),
                         ["de/settings.htm: the program has no text 'Einstellen'"])

    def test_an_option_that_is_not_there_is_found(self):
        self.change("doc/html/virus-log.htm", "corvane-virlog --keep 0", "corvane-virlog --clear")
        self.assertEqual(manual_texts.unknown_options(self.copy), ["virus-log.htm: no man page has --clear"])

    def test_links_out_of_the_manual_or_to_nowhere_are_found(self):
        for link, fault in (("settings.html", "leads nowhere"), ("../secret.htm", "leads out of the manual"),
                            ("https://example.org/", "leads out of the manual"),
                            ("//example.org/x", "leads out of the manual"), ("/etc/passwd", "leads out of the manual"),
                            ("settings.htm#nothing", "has no such anchor")):
            with self.subTest(link):
                self.change("doc/html/limits.htm", "<p>No scanner", f'<p><a href="{link}">x</a> No scanner')
                self.assertEqual(manual_pages.faults_of_links(self.manual), [f"limits.htm: {link} {fault}"])
                self.restore()

    def test_what_is_no_valid_page_is_found(self):
        for old, new in (("</p>", ""), ("<p>No scanner", "<p><ul><li>x</li></ul>No scanner"),
                         ("<p>No scanner", '<p style="color: red">No scanner'),
                         ("<p>No scanner", "<p><img/>No scanner"), ('<meta charset="utf-8"/>', ""),
                         ("<h2 ", '<h2 id="bounds">x</h2><h2 '), ("<title>What", "<title>How"),
                         ('lang="en"', 'lang="de"'), ("<ul>", "<ul>text"), ("<li>", "<li></li><li>")):
            with self.subTest(new):
                self.change("doc/html/limits.htm", old, new)
                self.assertNotEqual(manual_pages.faults_of_page(self.manual, "limits.htm", "en"), [])
                self.restore()

    def test_languages_that_differ_are_found(self):
        self.change("doc/html/de/limits.htm", 'id="bounds"', 'id="grenzen"')
        self.change("doc/html/de/about.htm", "<li>", "<li>Noch etwas.</li><li>")
        self.assertEqual([fault.split(":")[0] for fault in manual_pages.faults_of_languages(self.manual)],
                         ["limits.htm", "about.htm"])
        (self.copy / "doc/html/de/about.htm").unlink()
        self.assertEqual(len(manual_pages.faults_of_languages(self.manual)), 2)

    def test_a_page_that_is_not_listed_is_found(self):
        self.change("doc/html/home.htm", '<a href="mirror.htm">', '<a href="updates.htm">')
        self.assertEqual(manual_pages.faults_of_links(self.manual), ["home.htm: the contents are not the pages"])

    def test_colours_and_loading_styles_are_found(self):
        for rule in ("p { color: red }", "p { background-color: white }", '@import "x.css";', "p { border: 1px }"):
            with self.subTest(rule):
                self.write("doc/html/style.css", rule)
                self.assertNotEqual(manual_pages.faults_of_style(self.manual), [])


if __name__ == "__main__":
    unittest.main()
