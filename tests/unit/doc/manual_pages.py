"""The pages of the manual as they are on the disk, and what is wrong with them.

Pages are HTML that is XML, too, of the elements that the help viewer's browser shows well.
"""

import pathlib
import re
import xml.etree.ElementTree as ElementTree

# In the order in which the links at the end of each page lead through them.
NAMES = ("home", "first-steps", "scanning", "virus-found", "settings", "reports", "virus-log", "updates", "mirror",
         "schedules", "command-line", "limits", "messages", "administrators", "keyboard", "glossary", "about")
FILES = [name + ".htm" for name in NAMES]
LANGUAGES = {"en": "", "de": "de/"}

# What may stand in what. Text may stand where inline elements may.
INLINE = {"a", "b", "em", "code", "br"}
CHILDREN = {
    "html": {"head", "body"}, "head": {"meta", "title", "link"}, "meta": set(), "link": set(), "title": set(),
    "body": {"h1", "h2", "p", "ul", "ol", "dl", "table", "pre", "hr"},
    "h1": INLINE, "h2": INLINE, "p": INLINE, "pre": INLINE - {"br"}, "hr": set(), "br": set(),
    "ul": {"li"}, "ol": {"li"}, "dl": {"dt", "dd"}, "table": {"tr"}, "tr": {"th", "td"},
    "li": INLINE | {"pre"}, "dt": INLINE, "dd": INLINE, "th": INLINE, "td": INLINE,
    "a": INLINE - {"a"}, "b": INLINE, "em": INLINE, "code": set(),
}
NO_TEXT = {"html", "head", "body", "ul", "ol", "dl", "table", "tr", "meta", "link", "hr", "br"}
ATTRIBUTES = {
    "html": {"lang"}, "meta": {"charset"}, "link": {"rel", "type", "href"}, "a": {"href"},
    "h2": {"id"}, "dt": {"id"}, "p": {"class"},
}


def text_of(element):
    """The words of an element, with its line breaks."""
    pieces = [element.text or ""]
    for child in element:
        pieces.append("\n" if child.tag == "br" else text_of(child))
        pieces.append(child.tail or "")
    return "".join(pieces)


def normal(text):
    return " ".join(text.split())


def terms_of(element):
    """Each term that is explained below an element; of one that stands for several texts, each line."""
    lines = []
    for term in element.iter("dt"):
        parts = [term.text or ""]
        for child in term:
            if child.tag == "br":
                parts.append("")
            else:
                parts[-1] += text_of(child)
            parts[-1] += child.tail or ""
        lines += [normal(part) for part in parts]
    return lines


class Page:
    """One page; `name` is its path below the manual's folder."""

    def __init__(self, folder, name):
        self.name = name
        self.bytes = (folder / name).read_bytes()
        self.root = ElementTree.fromstring(self.bytes)

    def anchors(self):
        return [element.get("id") for element in self.root.iter() if element.get("id")]

    def links(self):
        return [element.get("href") for element in self.root.iter() if element.get("href") is not None]

    def terms(self):
        return terms_of(self.root)

    def outline(self):
        """Headings with their anchors, and how much of each kind stands below each."""
        found = []
        for element in self.root.find("body"):
            if element.tag in ("h1", "h2"):
                found.append([element.tag, element.get("id"), {}])
            else:
                counts = found[-1][2]
                for part in element.iter():
                    if part.tag in ("p", "li", "dt", "dd", "tr", "td", "pre"):
                        counts[part.tag] = counts.get(part.tag, 0) + 1
        return found


def _faults_of_element(page, element):
    tag = element.tag
    if tag not in CHILDREN:
        return [f"{page}: <{tag}> is not used in the manual"]
    faults = [f"{page}: <{child.tag}> in <{tag}>" for child in element if child.tag not in CHILDREN[tag]]
    faults += [f"{page}: {name} of <{tag}>" for name in element.attrib if name not in ATTRIBUTES.get(tag, set())]
    own = (element.text or "") + "".join(child.tail or "" for child in element)
    if tag in NO_TEXT and own.strip():
        faults.append(f"{page}: text in <{tag}>: {own.strip()[:40]}")
    if tag not in NO_TEXT and not text_of(element).strip():
        faults.append(f"{page}: <{tag}> is empty")
    return faults


def faults_of_page(folder, name, language):
    """What is wrong with one page by itself."""
    try:
        page = Page(folder, name)
    except ElementTree.ParseError as error:
        return [f"{name}: {error}"]
    faults = [fault for element in page.root.iter() for fault in _faults_of_element(name, element)]
    if not page.bytes.startswith(b"<!DOCTYPE html>\n"):
        faults.append(f"{name}: no document type")
    if page.root.get("lang") != language:
        faults.append(f"{name}: its language is {page.root.get('lang')}")
    head = page.root.find("head")
    if [meta.get("charset") for meta in head.findall("meta")] != ["utf-8"] or head[0].tag != "meta":
        faults.append(f"{name}: its character set is not told first")
    headings = page.root.findall(".//h1")
    if len(headings) != 1 or text_of(head.find("title")) != text_of(headings[0]) + " – Corvane":
        faults.append(f"{name}: title and heading do not fit")
    if len(set(page.anchors())) != len(page.anchors()):
        faults.append(f"{name}: an anchor is there twice")
    if any(heading.get("id") is None for heading in page.root.iter("h2")):
        faults.append(f"{name}: a heading without an anchor")
    return faults


def faults_of_links(folder):
    """Links that lead nowhere, out of the manual, or past a page."""
    folder = pathlib.Path(folder).resolve()
    faults = []
    pages = {path: Page(folder, str(path.relative_to(folder))) for path in folder.rglob("*.htm")}
    for path, page in pages.items():
        for link in page.links():
            target, _, anchor = link.partition("#")
            reached = (path.parent / target).resolve() if target else path
            if re.match(r"[a-zA-Z][a-zA-Z0-9+.-]*:|//|/", link) or folder not in reached.parents:
                faults.append(f"{page.name}: {link} leads out of the manual")
            elif not reached.is_file():
                faults.append(f"{page.name}: {link} leads nowhere")
            elif anchor and (reached not in pages or anchor not in pages[reached].anchors()):
                faults.append(f"{page.name}: {link} has no such anchor")
    for prefix in LANGUAGES.values():
        for index, file in enumerate(FILES):
            page = pages.get(folder / prefix / file)
            if page is not None:
                faults += _faults_of_way(page, prefix, index)
    return faults


def _faults_of_way(page, prefix, index):
    """The links at the end: back, contents, next, the other language."""
    wanted = [FILES[index - 1]] if index > 0 else []
    wanted += ["home.htm"] if index > 0 else []
    wanted += [FILES[index + 1]] if index + 1 < len(FILES) else []
    wanted.append(("../" if prefix else "de/") + FILES[index])
    last = page.root.find("body")[-1]
    found = [link.get("href") for link in last.iter("a")]
    faults = [] if found == wanted else [f"{page.name}: it ends in {found}, not in {wanted}"]
    if index == 0:
        listed = [link for link in page.links() if link in FILES]
        if list(dict.fromkeys(listed))[:len(FILES) - 1] != FILES[1:]:
            faults.append(f"{page.name}: the contents are not the pages")
    return faults


def faults_of_style(folder):
    """A style sheet must leave the colours to the desktop, and load nothing."""
    sheet = (pathlib.Path(folder) / "style.css").read_text(encoding="utf-8")
    sheet = re.sub(r"/\*.*?\*/", "", sheet, flags=re.DOTALL)
    return [f"style.css: {word}" for word in re.findall(r"\w*color|background[\w-]*|@\w+|url\(|border[\w-]*", sheet)]


def faults_of_languages(folder):
    """Pages that one language lacks, or that say more in one than in the other."""
    folder = pathlib.Path(folder)
    faults = []
    for language, prefix in LANGUAGES.items():
        there = sorted(path.name for path in (folder / prefix).glob("*.htm"))
        if there != sorted(FILES):
            faults.append(f"{language}: the pages are {there}")
    for file in FILES:
        outlines = [Page(folder, prefix + file).outline() for prefix in LANGUAGES.values()
                    if (folder / prefix / file).is_file()]
        if len(outlines) == 2 and outlines[0] != outlines[1]:
            different = [pair for pair in zip(*outlines) if pair[0] != pair[1]]
            faults.append(f"{file}: not built alike: {different[:1] or 'one is longer'}")
    return faults
