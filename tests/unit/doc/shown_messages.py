"""The messages that the program shows, read from its sources and its translations.

A message is what stands in a message box, and what the lines of a page or a dialog say about how things
stand. Sources are formatted by clang-format: a function ends at the first "}" that begins a line.
"""

import pathlib
import re
import xml.etree.ElementTree as ElementTree

ROOMS = ("app", "reports", "scan", "update", "widgets", "schedule", "help", "kept", "overview")

# The house's own boxes; their sources hold no text.
BOXES = re.compile(
    r"\b(?:Show(?:Warning|Critical|Information)|AskYesNoCancel|AskYesNo|AskWithoutDefault"
    r"|QMessageBox(?:::\w+)?(?: \w+)?)\(")
# Where else messages are given their texts: boxes that are filled later, status bars.
FILLED = re.compile(r"\bQMessageBox \w+;|\bshowMessage\(")
HOUSE = "widgets/messages.cpp"

# Where the text of a box comes from that is no literal: the functions that make it. None stands for the
# words of the system's loader, which nobody can list; the manual has one entry for all of them.
MADE_ELSEWHERE = {
    "ScheduleTexts::NameRefused(": ["ScheduleTexts::NameRefused"],
    "ScheduleTexts::WhyFailed(": ["ScheduleTexts::WhyFailed"],
    "ScheduleTexts::FolderRefused(": ["ScheduleTexts::FolderRefused"],
    "LeftOutText(": ["FolderPicker::LeftOutText", "dlgDir::LeftOutText"],
    "InvalidText(": ["dlgIntSet::InvalidText"],
    "TooLong(": ["ScanPage::TooLong"],
    "result.problem": ["VaultCommand::Start"],
    "texts.empty": ["UpdatePage::TakeRecord"],
    "texts.invalid": ["UpdatePage::TakeRecord"],
    "ibrary.Error()": None,
    "dlerror()": None,
}

# What says how things stand without a box: each text of these functions and classes.
LINES = ("ConnectionTest::", "ScanNote::", "ScheduleTexts::", "ReportsPage::Say", "UnreadFilesDialog::Explain",
         "DefinitionsStatus::Definitions", "DefinitionsStatus::LastUpdate", "DefinitionsStatus::Result",
         "dlgUpdate::", "OverviewLines::", "KeptCopiesDialog::SayHowMany")

# Texts in the functions above that are no message, each with the reason.
NO_MESSAGE = {
    "Corvane": "a title",
    "Corvane Scan": "a title",
    "Corvane Settings": "a title",
    "Critical!": "a title",
    "File error": "a title",
    "Kept copies": "a title",
    "and %n more": "ends a list of files",
    "Internet settings": "a title",
    "Rapid Update": "a title",
    "Schedule Scan": "a title",
    "Save As": "a title",
    "About the help viewer": "a title",
    "All Files (*)": "a choice in the toolkit's dialog for files",
    "Cancel": "a button",
    "Select file to scan": "a title",
    "get existing directory": "a title",
    "en_GB": "names a language, for dates",
    "d MMMM yyyy": "how a date is written",
    "dddd, d MMMM yyyy, HH:mm": "how a moment is written",
    "%1, %2": "joins a date and a time of day",
    "%1 (%2)": "joins two texts",
    "%1: %2": "joins two texts",
    "%1. %2": "joins two texts",
    "systemctl start corvane-scheduler": "a command, part of another text",
    "/etc/init.d/corvane-scheduler start": "a command, part of another text",
    "of today": "part of the line about the definitions",
    "1 day old": "part of the line about the definitions",
    "%1 days old": "part of the line about the definitions",
    "This is not there yet. It comes with a later version of Corvane.":
        "of parts that are not finished, which are no part of a manual",
}

STRING = r'"(?:[^"\\]|\\.)*"'
LITERALS = re.compile(
    rf"\b(?:(?P<call>tr|QStringLiteral)\(|translate\(\s*(?P<context>{STRING})\s*,)\s*"
    rf"(?P<text>{STRING}(?:\s*{STRING})*)")


class Message:
    def __init__(self, text, context, place):
        self.text = text
        self.context = context
        self.place = place


def _without_comments(source):
    return re.sub(rf"({STRING})|//[^\n]*", lambda match: match.group(1) or "", source)


def _value(literal):
    joined = "".join(part[1:-1] for part in re.findall(STRING, literal))
    return joined.replace(r"\n", "\n").replace(r"\t", "\t").replace(r"\"", '"').replace(r"\\", "\\")


def _literals(code, context, place):
    found = []
    for match in LITERALS.finditer(code):
        text = _value(match.group("text"))
        if match.group("call") is None:
            found.append(Message(text, _value(match.group("context")), place))
        elif match.group("call") == "tr":
            found.append(Message(text, context, place))
        elif " " in text:  # no name of an object, nor an option
            found.append(Message(text, None, place))
    return found


def _arguments(code, start):
    """What stands in the brackets that were opened just before `start`."""
    depth = 1
    position = start
    while depth > 0:
        match = re.compile(rf"{STRING}|[()]").search(code, position)
        if match is None:
            raise ValueError("a bracket is not closed")
        depth += {"(": 1, ")": -1}.get(match.group(), 0)
        position = match.end()
    return code[start:position - 1]


def _functions(path):
    """Each function of a source: its name with its class, and its code."""
    name_pattern = re.compile(r"(?:^|[\s*&])((?:\w+::)*~?\w+)\(")
    functions = []
    lines = []
    for line in _without_comments(path.read_text(encoding="utf-8")).split("\n"):
        lines.append(line)
        if line == "}" or line.startswith("} "):
            code = "\n".join(lines)
            heads = [part for part in lines if part and part[0] not in "}#/ "]
            names = [found.group(1) for found in map(name_pattern.search, heads) if found]
            functions.append((names[-1] if names else "", code))
            lines = []
    return functions


def _at_start(root):
    """What is said before there is a window: by the desktop, and on a terminal."""
    place = "app/start_up.cpp"
    source = _without_comments((root / place).read_text(encoding="utf-8"))
    joined = re.sub(r'"\s*\n\s*"', "", source)
    texts = re.findall(r"'([^']+)'", "".join(re.findall(r'"notify-send[^"]*"', joined)))
    texts += [_value(text) for text in re.findall(rf"\bComplain\(({STRING})", joined)]
    return [Message(text, None, place) for text in texts]


def collect(root):
    """All messages of the sources below `root`, and what of boxes could not be understood."""
    root = pathlib.Path(root)
    functions = {}
    for room in ROOMS:
        for path in sorted((root / room).rglob("*.cpp")):
            place = str(path.relative_to(root))
            if place == HOUSE:
                continue
            for name, code in _functions(path):
                functions.setdefault(name, []).append((place, code))
    messages = _at_start(root)
    unknown = []

    def take(name, place, code):
        context = name.rsplit("::", 1)[0] if "::" in name else None
        messages.extend(_literals(code, context, f"{place}: {name}"))

    for name, bodies in functions.items():
        for place, code in bodies:
            boxes = [_arguments(code, box.end()) for box in BOXES.finditer(code)]
            if boxes or FILLED.search(code) or name.startswith(LINES):
                take(name, place, code)
            for arguments in boxes:
                bare = re.findall(STRING, LITERALS.sub("", arguments))
                messages.extend(Message(_value(text), None, f"{place}: {name}") for text in bare)
                makers = [made for made in MADE_ELSEWHERE if made in arguments]
                for maker in makers:
                    for function in MADE_ELSEWHERE[maker] or []:
                        if function not in functions:
                            unknown.append(f"{place}: there is no {function} any more")
                        for other, body in functions.get(function, []):
                            take(function, other, body)
                # A title has a text of its own, so one text is not enough.
                if not makers and len(_texts_of(arguments)) < 2:
                    unknown.append(f"{place}: {name}: where does the text of this box come from? {arguments}")
    wanted = [message for message in messages if message.text not in NO_MESSAGE and _says_something(message.text)]
    return wanted, unknown


def _texts_of(arguments):
    """Arguments that say something: a text, or a name of a text as `title` or `kTitle`."""
    return re.findall(rf"\b(?:tr|QStringLiteral)\(|\b(?:kTitle|kUpdateTitle|title)\b|(?<![\w(]){STRING}", arguments)


def _says_something(text):
    return len(re.findall(r"\w{2,}", re.sub(r"%\d|%n", "", text))) >= 1 and not text.startswith(("/home/", "/run/"))


# Between the forms of a text that is said of one and of several.
FORMS = "\x1e"


def translations(file):
    """(context, text) to the text in the language of a catalogue, with all its forms."""
    table = {}
    for context in ElementTree.parse(file).getroot().iter("context"):
        for message in context.iter("message"):
            translation = message.find("translation")
            forms = [form.text for form in translation.iter("numerusform")] or [translation.text or ""]
            table[context.find("name").text, message.find("source").text] = FORMS.join(forms)
    return table


def unread_reasons(root):
    """Why a file was not read, in the words of the list of files not read."""
    reasons = []
    for place in ("product/scanning/unread_reasons.h", "product/scanapi/host_session.cpp",
                  "product/scanapi/scan_pool.cpp", "product/scanapi/pending_scan.cpp",
                  "product/scanapi/worker_link.cpp", "product/scanapi/conversation.cpp",
                  "product/scanapi/clamd_backend.cpp", "product/scanapi/target_file.cpp",
                  "product/scanapi/target_file.h"):
        source = _without_comments((pathlib.Path(root) / place).read_text(encoding="utf-8"))
        found = re.findall(rf"(?:k\w+(?:\[\])? = |m_whyClosed = |FinishUnread\(|reason = |return |\? )({STRING})", source)
        reasons += [text for text in map(_value, found) if text.islower() and not text.endswith(" ")]
        # Of a clamd; what it said itself follows a blank.
        reasons += [f"clamd {text}%1" if text.endswith(" ") else f"clamd {text}"
                    for text in map(_value, re.findall(rf"\bDrop\(({STRING})", source))]
    return reasons


def normal(text):
    return " ".join(text.split())


def pattern(text):
    """What matches a message in the manual, where its parts that vary stand as other words."""
    parts = [re.escape(normal(part)) for part in re.split(r"%\d|%n", text)]
    return re.compile(r"\s?\S.{0,80}?".join(parts) if len(parts) > 1 else parts[0])
