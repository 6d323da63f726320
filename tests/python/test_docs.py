"""The guide and the site that is made of it and of the catalogue."""

import os
import re
import subprocess
import sys
from pathlib import Path

import kestrine
import pytest

ROOT = Path(__file__).parents[2]
CHAPTERS = sorted((ROOT / "docs").glob("[ge]*/*.md"))  # guide and examples
SERVERS = "import kestrine\nsimulators = [kestrine.Simulator(time_scale=0.1) for _ in range(2)]\n"


def blocks(chapter, language):
    return re.findall(rf"```{language}\n(.*?)```", chapter.read_text(), re.S)


@pytest.mark.parametrize("chapter", CHAPTERS, ids=lambda chapter: chapter.stem)
def test_the_python_of_a_chapter_runs(chapter):
    code = re.sub(r'"192.168.0.(\d)", 700', r'"127.0.0.1", simulators[\1 - 1].port', "".join(blocks(chapter, "python")))
    done = subprocess.run([sys.executable, "-c", SERVERS + code], capture_output=True, text=True, timeout=60)
    assert (done.returncode, done.stderr) == (0, "")


def test_the_cpp_of_all_chapters_compiles():
    bodies = [block for chapter in CHAPTERS for block in blocks(chapter, "cpp")]
    includes = {line for body in bodies for line in re.findall("#include .*\n", body)}
    code = [re.sub("#include .*", "", body) for body in bodies]  # one of them is a whole program
    code = [each if " main(" in each else f"namespace n{place} {{ {each} }}\n" for place, each in enumerate(code)]
    generated = Path(kestrine.__file__).parents[2] / "generated/include"
    subprocess.run([os.environ.get("CXX", "c++"), "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                    f"-I{ROOT}/include", f"-I{generated}", "-xc++", "-"],
                   input="".join([*includes, *code]), text=True, check=True, env={"PATH": os.environ["PATH"]})


def test_every_link_of_the_site_leads_somewhere(tmp_path):
    subprocess.run([sys.executable, "-B", ROOT / "docs/build.py", "--out", tmp_path / "site"], check=True)
    pages = {page: page.read_text() for page in (tmp_path / "site").rglob("*.html")}
    for page, text in pages.items():
        for path, anchor in re.findall(r'\b(?:href|src)="([^"#]*)#?([^"]*)"', text):
            target = (page.parent / path).resolve() if path else page
            assert target.is_file() and (not anchor or f'id="{anchor}"' in pages[target]), f"{page}: {path}#{anchor}"
