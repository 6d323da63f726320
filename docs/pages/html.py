"""Small pieces of pages. Links are written from the root of the site: href="/events.html"."""

import re
from html import escape

from pygments import highlight
from pygments.formatters import HtmlFormatter
from pygments.lexers import get_lexer_by_name

# Words of running text that can be names: with a capital inside, or with a prefix.
_NAME = re.compile(r"\b(?:(?:VL|KR)_\w+|[A-Z]\w*[a-z0-9][A-Z]\w*)\b")
# Tables that have this column are read row by row where there is little room.
_ADVICE = "What to do"


class Names:
    """What can be linked to: the name, and where it is explained."""

    def __init__(self) -> None:
        self._targets: dict[str, str] = {}

    def add(self, name: str, target: str) -> None:
        self._targets.setdefault(name, target)

    def code(self, name: str, shown: str = "") -> str:
        cell = f"<code>{escape(shown or name)}</code>"
        return f'<a href="/{self._targets[name]}">{cell}</a>' if name in self._targets else cell

    def text(self, words: str) -> str:
        """Running text, in which names become links."""
        return _NAME.sub(lambda found: self.code(found[0]) if found[0] in self._targets else found[0], escape(words))

    def link_code(self, html: str) -> str:
        """Of a page whose names are in code already."""
        return re.sub(r"<code>(\w+)</code>", lambda found: self.code(found[1]), html)


def table(heads: list[str], rows: list[list[str]], anchors: list[str] | None = None) -> str:
    """Columns in which no row has anything are left out."""
    kept = [place for place in range(len(heads)) if any(row[place] for row in rows)]
    head = "".join(f"<th>{heads[place]}</th>" for place in kept)
    lines = []
    for number, row in enumerate(rows):
        identity = f' id="{anchors[number]}"' if anchors and anchors[number] else ""
        lines.append(f"<tr{identity}>" + "".join(f"<td>{row[place]}</td>" for place in kept) + "</tr>")
    kind = ' class="stacked"' if _ADVICE in heads else ""
    return f'<div class="wide"><table{kind}><thead><tr>{head}</tr></thead><tbody>\n' + "\n".join(lines) + \
        "\n</tbody></table></div>\n"


def section(title: str, body: str, identity: str = "", level: int = 2) -> str:
    return f'<h{level} id="{identity or title.lower().replace(" ", "-")}">{title}</h{level}>\n{body}' if body else ""


def facts(rows: list[tuple[str, str]]) -> str:
    """Short facts with a name each."""
    known = "".join(f"<dt>{name}</dt><dd>{value}</dd>" for name, value in rows if value)
    return f"<dl>{known}</dl>\n" if known else ""


def listing(code: str, language: str) -> str:
    return highlight(code, get_lexer_by_name(language), HtmlFormatter(cssclass="codehilite"))
