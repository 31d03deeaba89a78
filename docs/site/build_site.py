#!/usr/bin/env python3
"""build_site.py: builds the static site from the tree's documents, headers and measured data.

Usage: build_site.py SOURCE_FOLDER OUTPUT_FOLDER CHART_LIBRARY_FOLDER
"""

import glob
import json
import os
import re
import shutil
import subprocess
import sys

import jinja2
import markdown
import quality_data
import reference
from markupsafe import Markup

HERE = os.path.dirname(os.path.abspath(__file__))
# The name of each page's file, its title, and what search engines show of it.
PAGES = [
    ("index", "Home", "tonekit: exact and fast conversion of audio, as a library, a program and a Python package."),
    ("quality", "Quality", "Resamplers measured: pass bands, aliases, noise, both ends of a stream, dither, and pictures of sweeps."),
    ("speed", "Speed", "How fast tonekit converts, next to other resamplers and to the least work there is, for each processor."),
    ("convert", "Convert", "The manual of tonekit-convert, with everyday jobs as commands of one line."),
    ("reference", "Reference", "Every function, constant and record of the library, with examples."),
    ("python", "Python", "tonekit for Python and NumPy: resampling, streams, loudness, HDCD, tags and whole files."),
    ("archives", "Archives", "Conversion of archives of any size, on a laptop, one big machine or a Ray cluster."),
    ("inside", "Inside", "How the library is arranged, and how all its bodies are held to the same bits."),
    ("changelog", "Changelog", "What changed in each version of tonekit."),
]
FAMILIES = ["frame", "convert", "hdcd", "loudness", "tags", "encode", "image", "host"]


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Documents:
    """Markdown of the tree as HTML. Links to files of the tree become plain code, since the site stands alone."""

    def __init__(self, source):
        self.source = source

    def exists(self, path):
        return os.path.exists(os.path.join(self.source, path))

    def html(self, path, below=1, without_title=True):
        text = read(os.path.join(self.source, path))
        if without_title:
            text = re.sub(r"\A# .*\n", "", text)
        text = re.sub(r"!\[[^\]]*\]\([^)]*\)", "", text)
        text = re.sub(r"\[([^\]]+)\]\((?!https?:|#)[^)]*\)", r"\1", text)
        rendered = markdown.markdown(text, extensions=["tables", "fenced_code", "toc", "sane_lists"])
        rendered = re.sub(r"<(/?)h([1-5])", lambda found: f"<{found[1]}h{min(int(found[2]) + below - 1, 6)}", rendered)
        rendered = re.sub(r'(<h\d) id="', rf'\1 id="{re.sub(r"[^a-z]", "-", path.lower())}-', rendered)
        rendered = with_row_headers(rendered).replace("<table>", '<div class="scroll" tabindex="0"><table>').replace("</table>", "</table></div>")
        return Markup(rendered.replace("<pre>", '<pre tabindex="0">'))

    def section(self, path, title):
        """The HTML of one section of a document, or nothing."""
        found = re.search(rf"^## {re.escape(title)}\n(.*?)(?=^## |\Z)", read(os.path.join(self.source, path)), re.M | re.S)
        return Markup(markdown.markdown(found[1], extensions=["tables", "fenced_code"]).replace("<pre>", '<pre tabindex="0">')) if found else ""


def manual(path):
    """The man page as HTML."""
    done = subprocess.run(["mandoc", "-T", "html", "-O", "fragment", path], capture_output=True, text=True, check=True)
    fragment = re.sub(r'<table class="(head|foot)">.*?</table>', "", done.stdout, flags=re.S)
    fragment = re.sub(r"<(/?)h([12])", lambda found: f"<{found[1]}h{int(found[2]) + 1}", fragment)
    return Markup(fragment.replace("<pre>", '<pre tabindex="0">'))


def picture_size(path):
    """Width and height of an SVG picture, as attributes: no text moves when the picture comes."""
    found = re.search(r'<svg [^>]*?width="(\d+)" height="(\d+)"', read(path))
    return Markup(f'width="{found[1]}" height="{found[2]}"')


def with_row_headers(rendered):
    """Tables whose first column has no heading: it holds the headings of the rows."""
    def changed(table):
        if not re.search(r"<thead>\s*<tr>\s*<th></th>", table[0]):
            return table[0]
        text = table[0].replace("<th></th>", "<td></td>", 1)
        return re.sub(r"<tr>\s*<td>(.+?)</td>", r'<tr>\n<th scope="row">\1</th>', text)

    return re.sub(r"<table>.*?</table>", changed, rendered, flags=re.S)


def processor_sections(quality):
    """Every processor that has been measured: what machine, which speeds."""
    return [
        {"machine": quality_data.load(os.path.join(folder, "machine.json")),
         "speed": quality_data.load(os.path.join(folder, "speed.json"))["pairs"]}
        for folder in quality
    ]  # fmt: skip


def benchmark_tables(source):
    """The kept results of the benchmarks: for each processor its tables, each with its rows; whole programs first."""
    processors = {}
    for path in sorted(glob.glob(os.path.join(source, "benchmarks", "results", "*.json")), key=lambda one: (not one.endswith("-programs.json"), one)):
        with open(path, encoding="utf-8") as file:
            for row in map(json.loads, filter(str.strip, file)):
                processors.setdefault(row["processor"], {}).setdefault(row["table"], []).append(row)
    return [{"name": name, "tables": tables} for name, tables in processors.items()]


def settings_of(documents, source, headers, quality):
    """What each page shows, by its name."""
    shown = quality[0]
    values = {
        "index": {"example": read(os.path.join(source, "examples", "convert_buffer.c"))},
        "quality": {
            "tones": quality_data.load(os.path.join(shown, "tones-44100-48000.json")),
            "lengths": quality_data.load(os.path.join(shown, "lengths.json"))["rows"],
            "round_trips": quality_data.load(os.path.join(shown, "round_trips.json")),
            "bodies": quality_data.load(os.path.join(shown, "bodies.json")),
            "ends": quality_data.load(os.path.join(shown, "ends.json")),
            "sounds": quality_data.load(os.path.join(shown, "sounds.json"))["files"],
            "worst": quality_data.load(os.path.join(source, "docs", "quality", "worst_figures.json")),
            "better": quality_data.better_peers(shown),
            "machines": processor_sections(quality),
        },
        "speed": {"machines": processor_sections(quality), "benchmarks": benchmark_tables(source)},
        "convert": {"manual": manual(os.path.join(source, "docs", "tonekit-convert.1")), "recipes": documents.section("README.md", "Convert")},
        "reference": {"headers": headers, "examples": [
            {"name": os.path.basename(path), "text": read(path)}
            for path in sorted(glob.glob(os.path.join(source, "examples", "*.c*")))
        ]},
        "inside": {"families": [(name, documents.html(f"{name}/README.md", 3)) for name in FAMILIES if documents.exists(f"{name}/README.md")],
                   "dispatch": documents.html("docs/dispatch.md", 2)},
    }  # fmt: skip
    for name, path in (("python", "python/README.md"), ("archives", "docs/archives.md"), ("changelog", "CHANGELOG.md")):
        if documents.exists(path):
            values[name] = {"body": documents.html(path)}
    return values


def build(source, target, chart_library):
    documents = Documents(source)
    quality = quality_data.processors(os.path.join(source, "docs", "quality"))
    if not quality:
        raise SystemExit("build_site.py: docs/quality holds no measured data; run make quality first")
    shutil.rmtree(target, ignore_errors=True)
    os.makedirs(os.path.join(target, "data"))
    headers = reference.read(os.path.join(source, "include"), os.path.join(os.path.dirname(target), "site-reference"))
    values = settings_of(documents, source, headers, quality)
    shown = [page for page in PAGES if page[0] in values]
    environment = jinja2.Environment(
        loader=jinja2.FileSystemLoader(os.path.join(HERE, "templates")), autoescape=True, undefined=jinja2.StrictUndefined,
        trim_blocks=True, lstrip_blocks=True,
    )  # fmt: skip
    machine = quality_data.load(os.path.join(quality[0], "machine.json"))
    terminal = picture_size(os.path.join(source, "docs", "terminal.svg"))
    for name, title, description in shown:
        template = name if os.path.exists(os.path.join(HERE, "templates", name + ".html")) else "document"
        page = environment.get_template(template + ".html").render(
            name=name, title=title, description=description, pages=[page[:2] for page in shown], machine=machine,
            terminal=terminal, **values[name]
        )
        with open(os.path.join(target, name + ".html"), "w", encoding="utf-8") as file:
            file.write(page)
    quality_data.write_scripts(quality[0], os.path.join(target, "data"))
    quality_data.write_points(quality[0], os.path.join(target, "data"))
    quality_data.copy_media(quality[0], target)
    shutil.copytree(os.path.join(HERE, "static"), target, dirs_exist_ok=True)
    for file in ("uPlot.iife.min.js", "uPlot.min.css"):
        shutil.copy(os.path.join(chart_library, "dist", file), target)
    shutil.copy(os.path.join(source, "docs", "terminal.svg"), target)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit("usage: build_site.py SOURCE_FOLDER OUTPUT_FOLDER CHART_LIBRARY_FOLDER")
    build(*sys.argv[1:])
