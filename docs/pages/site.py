"""The site: all pages between one head and one foot, with links between them, and what the search looks through."""

import json
import re
import shutil
from dataclasses import dataclass, field
from html import escape, unescape
from pathlib import Path

_TAG = re.compile(r"<[^>]+>")
_HEADING = re.compile(r'<h[23] id="([^"]+)">(.*?)</h[23]>(.*?)(?=<h[1-3]|\Z)', re.S)


@dataclass
class Page:
    path: str
    title: str
    body: str
    kind: str  # as the search shows it
    summary: str = ""
    in_menu: str = ""  # the part of the menu
    entries: list[tuple[str, str, str]] = field(default_factory=list)  # further things to find: name, anchor, text

    def find_headings(self) -> None:
        self.entries += [(plain(title), anchor, plain(text)[:300])
                         for anchor, title, text in _HEADING.findall(self.body)]


def plain(html: str) -> str:
    return " ".join(unescape(_TAG.sub(" ", html)).split())


def write_site(pages: list[Page], parts: Path, out: Path, version: str) -> None:
    template = (parts / "template.html").read_text(encoding="utf-8")
    out.mkdir(parents=True, exist_ok=True)
    for name in ("style.css", "search.js"):
        shutil.copy(parts / name, out / name)
    for page in pages:
        text = template
        for key, value in {"title": escape(page.title), "version": version, "menu": _menu(pages, page),
                           "body": page.body}.items():
            text = text.replace("{{" + key + "}}", value)
        root = "../" * page.path.count("/")
        target = out / page.path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(re.sub(r'\b(href|src|data-root)="/', rf'\1="{root}', text), encoding="utf-8")
    rows = [row for page in pages for row in _index(page)]
    # A script and not data to fetch: pages opened as files may fetch nothing.
    (out / "search_index.js").write_text(f"const searchIndex = {json.dumps(rows, ensure_ascii=False)};\n",
                                         encoding="utf-8")


def _menu(pages: list[Page], here: Page) -> str:
    parts: dict[str, list[str]] = {}
    for page in pages:
        if page.in_menu:
            mark = ' aria-current="page"' if page is here else ""
            parts.setdefault(page.in_menu, []).append(f'<li><a href="/{page.path}"{mark}>{escape(page.title)}</a></li>')
    return "\n".join(f"<h2>{title}</h2>\n<ul>{''.join(rows)}</ul>" for title, rows in parts.items())


def _index(page: Page) -> list[list[str]]:
    return [[page.title, page.kind, page.path, page.summary]] + [
        [name, page.title, f"{page.path}#{anchor}", text] for name, anchor, text in page.entries]
