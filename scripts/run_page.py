#!/usr/bin/python3
"""Runs the commands of a page and compares what they print and the pictures they make with what the page shows.

    scripts/run_page.py build docs/tour.md            check
    scripts/run_page.py --write build docs/tour.md    bring the page and its pictures up to date

The commands stand in blocks of the kind `sh`, and run one block after the other in one empty folder, in which
`samples`, `examples` and `build` lead to those of the project. A block of the kind `text` or `json` right behind shows
what is printed, all of it; a line of three dots stands for any number of lines, and the word `times` behind the kind says
that numbers with a decimal point differ from run to run. A picture `images/NAME.png` is the file NAME.png in that
folder. Each block must end with status 0, so that a page shows a failure with `|| echo "status $?"`.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"^```(\w+)( times)?\n(.*?)^```\n", re.MULTILINE | re.DOTALL)
PICTURE = re.compile(r"!\[[^\]]*\]\(((?:docs/)?images/[\w.-]+\.png)\)")
DECIMAL = re.compile(r" *\d+\.\d+")


def is_shown(block, printed):
    """Whether a block shows what was printed."""
    shown = block.group(3)
    if block.group(2):
        shown, printed = DECIMAL.sub(" #", shown), DECIMAL.sub(" #", printed)
    pattern = re.escape(shown).replace(re.escape("...\n"), "(?:.*\n)*")
    return re.fullmatch(pattern, printed) is not None


class Page:
    def __init__(self, file, build):
        self.file = file
        self.build = build.resolve()
        self.text = file.read_text()
        self.folder = Path(tempfile.mkdtemp(prefix="vessa-page-"))
        for name, target in (("samples", PROJECT / "samples"), ("examples", PROJECT / "examples"), ("build", self.build)):
            (self.folder / name).symlink_to(target)

    def shell(self, commands):
        """What a block prints, on standard output and standard error as a terminal shows them."""
        run = subprocess.run(
            ["bash", "-o", "pipefail", "-c", commands], cwd=self.folder, timeout=240, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={**os.environ, "PATH": f"{self.build / 'bin'}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"})
        if run.returncode != 0:
            sys.exit(f"{self.file}: status {run.returncode} of\n{commands}\n{run.stdout}")
        return run.stdout

    def outputs(self):
        """The page's blocks with output, each with what its commands have printed."""
        printed = None
        end = 0
        for block in BLOCK.finditer(self.text):
            kind = block.group(1)
            if kind == "sh":
                self.require_silence(printed)
                printed = self.shell(block.group(3))
            elif kind in ("text", "json") and printed is not None and self.text[end:block.start()].strip() == "":
                yield block, printed
                printed = None
            end = block.end()
        self.require_silence(printed)

    def require_silence(self, printed):
        if printed:
            sys.exit(f"{self.file}: the commands print what the page doesn't show:\n{printed}")

    def pictures(self):
        """The page's pictures, each with the file that the commands have made."""
        for name in sorted(set(PICTURE.findall(self.text))):
            yield self.file.parent / name, self.folder / Path(name).name

    def pixels(self, picture):
        """The picture in a format without compression, so that two of them can be compared byte by byte."""
        plain = self.folder / "pixels.npy"
        self.shell(f"vessa run Extract -i '{picture.resolve()}' -o '{plain}'")
        return plain.read_bytes()

    def check(self):
        """What differs between the page and what its commands give."""
        for block, printed in self.outputs():
            if not is_shown(block, printed):
                yield f"the page shows\n{block.group(3)}but its commands print\n{printed}"
        for shown, made in self.pictures():
            if self.pixels(shown) != self.pixels(made):
                yield f"{shown} is another picture than the commands make"

    def write(self):
        text, end = "", 0
        for block, printed in self.outputs():
            if not is_shown(block, printed):
                text += self.text[end:block.start(3)] + printed
                end = block.end(3)
        self.file.write_text(text + self.text[end:])
        for shown, made in self.pictures():
            shutil.copyfile(made, shown)


def main():
    parser = argparse.ArgumentParser(description="Run the commands of a page.")
    parser.add_argument("--write", action="store_true", help="bring the page up to date")
    parser.add_argument("build", type=Path, help="the build folder, with bin/vessa")
    parser.add_argument("page", type=Path)
    arguments = parser.parse_args()
    page = Page(arguments.page, arguments.build)
    try:
        if arguments.write:
            page.write()
        else:
            sys.exit("\n".join(f"{page.file}: {difference}" for difference in page.check()) or None)
    finally:
        shutil.rmtree(page.folder)


if __name__ == "__main__":
    main()
