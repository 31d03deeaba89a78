"""reference.py: the public functions, constants and records, out of Doxygen's XML of the headers."""

import os
import re
import subprocess
import xml.etree.ElementTree as ElementTree

from markupsafe import Markup, escape

HEADERS = ["frame", "convert", "hdcd", "loudness", "tags", "encode", "image"]

_DOXYFILE = """
PROJECT_NAME = tonekit
INPUT = {inputs}
OUTPUT_DIRECTORY = {output}
GENERATE_XML = YES
GENERATE_HTML = NO
GENERATE_LATEX = NO
EXTRACT_ALL = YES
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = TONEKIT_API= __cplusplus
SORT_MEMBER_DOCS = NO
QUIET = YES
WARNINGS = NO
WARN_IF_UNDOCUMENTED = NO
WARN_IF_DOC_ERROR = NO
WARN_IF_INCOMPLETE_DOC = NO
JAVADOC_AUTOBRIEF = NO
"""


def _run_doxygen(include, output):
    os.makedirs(output, exist_ok=True)
    inputs = " ".join(os.path.join(include, "tonekit", header + ".h") for header in HEADERS)
    settings = _DOXYFILE.format(inputs=inputs, output=output)
    subprocess.run(["doxygen", "-"], input=settings, text=True, check=True, stdout=subprocess.DEVNULL)
    return os.path.join(output, "xml")


def _html(node):
    """The inside of a description as HTML."""
    if node is None:
        return Markup("")
    tags = {"para": "p", "itemizedlist": "ul", "orderedlist": "ol", "listitem": "li", "computeroutput": "code",
            "verbatim": "pre", "emphasis": "em", "bold": "strong"}  # fmt: skip
    parts = [escape(node.text or "")]
    for child in node:
        if child.tag not in ("parameterlist", "simplesect"):
            tag = tags.get(child.tag)
            inside = _html(child)
            parts.append(Markup("<{0}>{1}</{0}>").format(Markup(tag), inside) if tag and inside.strip() else inside)
        parts.append(escape(child.tail or ""))
    return Markup("").join(parts)


def _text(node):
    return re.sub(r"\s+", " ", "".join(node.itertext())).strip() if node is not None else ""


def _lists(description, kind):
    return [
        {"name": ", ".join(_text(one) for one in item.iter("parametername")),
         "text": _html(item.find("parameterdescription"))}
        for plist in description.iter("parameterlist") if plist.get("kind") == kind
        for item in plist.findall("parameteritem")
    ]  # fmt: skip


def _entry(member):
    description = member.find("detaileddescription")
    brief = _html(member.find("briefdescription"))
    kind = member.get("kind")
    name = _text(member.find("name"))
    if kind == "function":
        arguments = ", ".join(
            f"{_text(one.find('type'))} {_text(one.find('declname'))}{_text(one.find('array'))}".replace("* ", "*")
            for one in member.findall("param")
        )
        declaration = f"{_text(member.find('type'))} {name}({arguments or 'void'})".replace("* ", "*")
    elif kind == "define":
        declaration = f"#define {name} {_text(member.find('initializer'))}".rstrip()
    else:
        declaration = _text(member.find("definition")) or name
    returns = [_html(one) for one in description.iter("simplesect") if one.get("kind") == "return"]
    return {
        "kind": kind,
        "name": name,
        "declaration": declaration.removeprefix("TONEKIT_API "),
        "description": brief + _html(description),
        "parameters": _lists(description, "param"),
        "throws": _lists(description, "exception"),
        "returns": returns,
    }


def _header(folder, stem):
    index = ElementTree.parse(os.path.join(folder, "index.xml")).getroot()
    refid = next(one.get("refid") for one in index if one.get("kind") == "file" and _text(one.find("name")) == stem + ".h")
    root = ElementTree.parse(os.path.join(folder, refid + ".xml")).getroot()
    entries = []
    for member in root.iter("memberdef"):
        if member.get("kind") in ("function", "define", "enum", "typedef"):
            entry = _entry(member)
            if entry["name"] not in ("TONEKIT_API",) and not entry["name"].endswith("_H"):
                entries.append(entry)
    return {"name": stem, "entries": entries}


def _introduction(path):
    """The comments of a header that belong to no declaration, as they are written."""
    with open(path, encoding="utf-8") as file:
        blocks = re.findall(r"^/\*\n(.*?)\n \*/$", file.read(), re.MULTILINE | re.DOTALL)
    return "\n\n".join(re.sub(r"(?m)^ \* ?", "", block) for block in blocks)


def read(include, output):
    folder = _run_doxygen(include, output)
    headers = []
    for stem in HEADERS:
        header = _header(folder, stem)
        header["introduction"] = _introduction(os.path.join(include, "tonekit", stem + ".h"))
        headers.append(header)
    return headers
