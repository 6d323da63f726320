#!/usr/bin/env python3
"""Makes the reference out of the catalogue, and the site with it and the guide."""

import argparse
import re
import shutil
import sys
from pathlib import Path

import markdown

HERE = Path(__file__).parent
ROOT = HERE.parent
sys.path[:0] = [str(ROOT / "schema"), str(HERE)]

from generator.model.schema import Schema  # noqa: E402
from pages.forms import Forms  # noqa: E402
from pages.html import Names  # noqa: E402
from pages.lists import Lists  # noqa: E402
from pages.operations import Operations, path_of  # noqa: E402
from pages.site import Page, plain, write_site  # noqa: E402
from pages.units import Ranges  # noqa: E402

GUIDE = ["first_measurement", "events_and_loops", "streams", "several_trackers", "errors", "links", "behaviour",
         "late_bound_scripts"]
REFERENCE = ["operations", "connection", "events", "records", "enumerations", "constants", "statuses", "errors",
             "settings", "wire"]


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--out", type=Path, required=True, help="folder for the site, which is made anew")
    arguments = parser.parse_args()
    schema, names = Schema(ROOT / "schema"), Names()
    forms = Forms(schema)
    operations = Operations(schema, names, forms, Ranges(ROOT / "simulator"))
    lists = Lists(schema, names, forms)
    guide = [chapter(name, names) for name in GUIDE]
    reference = [reference_page(name, names, filled(schema, operations, lists)) for name in REFERENCE]
    chapters = "".join(f'<li><a href="/{page.path}">{page.title}</a></li>' for page in guide)
    start = rendered(HERE / "index.md", names).replace("<p>{{chapters}}</p>", f"<ul>{chapters}</ul>")
    pages = [Page("index.html", "Kestrine", start, "guide", "", "Guide"), *guide, *reference,
             *operation_pages(operations, names, guide)]
    for page in guide + reference:
        page.find_headings()
    for enum in schema.enums.values():
        home = next(page for page in pages if page.path == (
            "statuses.html" if enum.name == "VL_ResultStatus" else "enumerations.html"))
        home.entries += [(value.name, value.name, f"{enum.name} {value.value} {value.text or ''}")
                         for value in enum.values]
    pages_by_path = {page.path: page for page in pages}
    pages_by_path["errors.html"].entries += [(f"{error.number} {error.name}", error.name, error.advice)
                                             for error in schema.errors]
    shutil.rmtree(arguments.out, ignore_errors=True)
    write_site(pages, HERE / "site", arguments.out, ".".join(map(str, schema.library.version)))
    print(f"{len(pages)} pages in {arguments.out}")


def rendered(file: Path, names: Names) -> str:
    html = markdown.markdown(file.read_text(encoding="utf-8"),
                             extensions=["fenced_code", "codehilite", "tables", "toc", "smarty"],
                             extension_configs={"codehilite": {"guess_lang": False}})
    return names.link_code(html)


def title_of(html: str) -> str:
    return plain(re.search(r"<h1[^>]*>(.*?)</h1>", html)[1])


def chapter(name: str, names: Names) -> Page:
    body = rendered(HERE / f"guide/{name}.md", names)
    return Page(f"guide/{name}.html", title_of(body), body, "guide", "", "Guide")


def filled(schema: Schema, operations: Operations, lists: Lists) -> dict[str, str]:
    """What stands in the place of {{name}} in the pages of the reference."""
    intros = {path.stem: path.read_text(encoding="utf-8").splitlines()[0].lstrip("# ")
              for path in sorted((ROOT / "schema/commands").glob("*.toml"))}
    return {"operations": operations.overview(intros), "members": lists.members(), "events": lists.events(),
            "records": lists.records(), "enumerations": lists.enumerations(), "constants": lists.constants(),
            "statuses": lists.statuses(), "errors": lists.errors(), "settings": lists.settings(),
            "waits": lists.waits(), "packets": lists.packets()}


def reference_page(name: str, names: Names, parts: dict[str, str]) -> Page:
    body = rendered(HERE / f"reference/{name}.md", names)
    body = re.sub(r"<p>\{\{(\w+)\}\}</p>", lambda found: parts[found[1]], body)
    return Page(f"{name}.html", title_of(body), body, "reference", "", "Reference")


def operation_pages(operations: Operations, names: Names, guide: list[Page]) -> list[Page]:
    blocks = [(page, "".join(re.sub("<[^>]+>", "", code) for code in re.findall(r"<pre>.*?</pre>", page.body, re.S)))
              for page in guide]
    examples = {file.stem: rendered(file, names) for file in (HERE / "examples").glob("*.md")}
    made = []
    for method in operations.all:
        called = re.compile(rf"(?:\.|->){method.name}\(")
        shown_in = [chapter for chapter, code in blocks if called.search(code)]
        body = operations.page(method, examples.pop(method.name, ""), shown_in)
        made.append(Page(path_of(method.name), method.name, body, "operation", operations.summary(method)))
    if examples:
        sys.exit(f"examples of no operation: {', '.join(examples)}")
    return made


if __name__ == "__main__":
    main()
