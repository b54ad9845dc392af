"""What the manual says of the program's texts, compared with the texts: messages, reasons, keys, quotations."""

import re

import manual_pages
import shown_messages

# Whose texts have the keys of each section of the keyboard's page.
KEYS = {
    "everywhere": ["dlgMain"], "scan": ["ScanPage"], "kept": ["KeptCopiesDialog"], "folders": ["FolderPicker"],
    "progress": ["dlgScnPrgrs", "UnreadFilesDialog"], "prompt": ["dlgVirFnd"], "options": ["SettingsPage"],
    "reports": ["ReportsPage"], "report": ["dlgReport", "FindBar"], "update": ["UpdatePage", "dlgUpdate"],
    "internet": ["dlgIntSet"], "schedule": ["SchedulePage"], "wizard": ["dlgschedulescan"],
}

# What has no keys with letters of its own here: the menus of the help window show theirs.
WITHOUT_LETTERS = {"help"}

# What stands in quotation marks in the manual and is no text of the program, each with the reason.
QUOTED = {
    "the file": "a way of speaking", "die Datei": "a way of speaking", "Übergangene": "another form of a text",
    "Scan with Corvane": "in the menus of file managers", "Mit Corvane scannen": "in the menus of file managers",
    "No such file or directory": "the system's words", "mozilla": "the name of a program",
    ".cvd": "the end of a name", ".cld": "the end of a name", ".so": "the end of a name",
    ".bookmarks": "a file", ".history": "a file", "unsigned": "a folder", "current": "a link", "off": "a value",
}

# Sections that are about one room.
ROOM_OF_SECTION = {"help": "help"}


def missing_messages(sources):
    """Messages without an entry, in either language."""
    manual = sources / "doc" / "html"
    english = manual_pages.Page(manual, "messages.htm").terms()
    german = manual_pages.Page(manual, "de/messages.htm").terms()
    tables = _tables(sources)
    messages, faults = shown_messages.collect(sources)
    for message in messages:
        faults += _faults_of_message(message, english, german, tables)
    return list(dict.fromkeys(faults))  # several boxes may have one text


def _tables(sources):
    return {language: shown_messages.translations(sources / "translations" / f"zqscan_{language}.ts")
            for language in ("en", "de")}


def _forms(message, table):
    """What a person sees of a message: more than one text where it counts something."""
    return table.get((message.context, message.text), message.text).split(shown_messages.FORMS)


def _faults_of_message(message, english, german, tables):
    if message.context is None:  # shown as it is in every language
        pattern = shown_messages.pattern(message.text)
        return [f"{message.place}: {message.text!r} is not in {page}messages.htm"
                for page, terms in (("", english), ("de/", german)) if not any(map(pattern.search, terms))]
    if (message.context, message.text) not in tables["de"]:
        return [f"{message.place}: {message.text!r} has no translation in {message.context}"]
    return [f"{message.place}: {text!r} is not in {page}messages.htm"
            for page, terms, language in (("", english, "en"), ("de/", german, "de"))
            for text in _forms(message, tables[language])
            if not any(map(shown_messages.pattern(text).fullmatch, terms))]


def stale_entries(sources):
    """Entries for what the program does not say any more."""
    tables = _tables(sources)
    messages, _ = shown_messages.collect(sources)
    faults = []
    for language, prefix in manual_pages.LANGUAGES.items():
        known = [shown_messages.pattern(reason) for reason in shown_messages.unread_reasons(sources)]
        for message in messages:
            for text in _forms(message, tables[language]):
                pattern = shown_messages.pattern(text)
                # What is not translated may be put together of several.
                known.append(pattern if message.context else re.compile(pattern.pattern + "(?: .*)?"))
        page = manual_pages.Page(sources / "doc" / "html", prefix + "messages.htm")
        faults += [f"{page.name}: the program does not say {term!r}" for term in _judged_terms(page, sources)
                   if not any(pattern.fullmatch(term) for pattern in known)]
    return faults


def _judged_terms(page, sources):
    """All terms but those of sections whose room is not built into the program."""
    terms = []
    section = None
    for element in page.root.find("body"):
        section = element.get("id") if element.tag == "h2" else section
        if element.tag == "dl" and (sources / ROOM_OF_SECTION.get(section, ".")).is_dir():
            terms += manual_pages.terms_of(element)
    return terms


def missing_reasons(sources):
    """Reasons for files not read without an entry; they are in English in every language."""
    faults = []
    for prefix in manual_pages.LANGUAGES.values():
        terms = manual_pages.Page(sources / "doc" / "html", prefix + "messages.htm").terms()
        faults += [f"{prefix}messages.htm: {reason!r} is not explained" for reason in
                   shown_messages.unread_reasons(sources)
                   if not any(map(shown_messages.pattern(reason).fullmatch, terms))]
    return faults


def keys_of_texts(table, contexts):
    """The keys with Alt of all texts of some windows."""
    texts = [text for (context, _), text in table.items() if context in contexts]
    keys = {key for text in texts for key in re.findall(r"Alt\+(\w)\b", text)}
    return keys | {key.upper() for text in texts for key in re.findall(r"&(\w)", text)}


def wrong_keys(sources):
    """Sections of the keyboard's page that do not have the keys of the texts."""
    faults = []
    for language, prefix in manual_pages.LANGUAGES.items():
        table = shown_messages.translations(sources / "translations" / f"zqscan_{language}.ts")
        body = manual_pages.Page(sources / "doc" / "html", prefix + "keyboard.htm").root.find("body")
        section = None
        for element in body:
            if element.tag == "h2":
                section = element.get("id")
            elif element.tag == "table":
                told = {key for row in element.findall("tr")[1:]
                        for key in re.findall(r"Alt\+(\w)\b", manual_pages.text_of(row[0]))}
                wanted = set() if section in WITHOUT_LETTERS else keys_of_texts(table, KEYS[section])
                if told != wanted:
                    faults.append(f"{prefix}keyboard.htm, {section}: lacks {sorted(wanted - told)}, "
                                  f"has {sorted(told - wanted)} too many")
    return faults


def unknown_texts(sources):
    """What the manual quotes and the program does not show."""
    faults = []
    for language, prefix in manual_pages.LANGUAGES.items():
        table = shown_messages.translations(sources / "translations" / f"zqscan_{language}.ts")
        shown = "\n".join(shown_messages.normal(text.replace("&", "")) for text in table.values() if text)
        for file in manual_pages.FILES:
            words = manual_pages.text_of(manual_pages.Page(sources / "doc" / "html", prefix + file).root.find("body"))
            for quoted in map(shown_messages.normal, re.findall("[“„]([^”“]+)[”“]", words)):
                text = quoted.rstrip(".")
                if text not in QUOTED and not re.search(rf"(?<!\w){re.escape(text)}(?!\w)", shown):
                    faults.append(f"{prefix}{file}: the program has no text {quoted!r}")
    return faults


def unknown_options(sources):
    """Options and commands that no man page has."""
    known = "".join(path.read_text(encoding="utf-8").replace("\\", "") for folder in ("packaging", "product")
                    for path in sorted((sources / folder).rglob("*.[158]")))
    return [f"{file}: no man page has {word}" for file in manual_pages.FILES
            for word in re.findall(r"(?<![\w-])(?:--[a-z][a-z-]+|corvane-[a-z]+)(?![\w-])", " ".join(
                manual_pages.Page(sources / "doc" / "html", file).root.itertext())) if word not in known]
