"""Prepares the checkout's documents and public headers for doxygen: headings get anchors, and links go to them; pictures are
copied beside the pages; links to files outside the site become text.

pages.py CHECKOUT FOLDER: writes FOLDER/pages, FOLDER/include and FOLDER/html, and edits doxygen's FOLDER/layout.xml.
"""

import pathlib
import re
import shutil
import sys
from html import escape

LINK = re.compile(r"(!?)\[([^\]]*)\]\(([^)\s]+)\)")
NO_BREAK = "\N{NO-BREAK SPACE}"
FENCE = re.compile(r"(^```.*?^```$)", re.MULTILINE | re.DOTALL)


def name_of(words):
    """As code hosting sites name headings."""
    return re.sub(r"[^\w\- ]", "", words.lower()).replace(" ", "-")


def title_of(path):
    first = path.read_text().split("\n", 1)[0]
    if not first.startswith("# "):
        sys.exit(f"pages.py: {path} does not begin with a title")
    return first[2:]


class Site:
    def __init__(self, checkout, folder):
        self.checkout = checkout
        self.folder = folder
        self.front = checkout / "README.md"
        self.guide = checkout / "docs/guide/README.md"
        self.guide_pages = sorted(path for path in self.guide.parent.glob("*.md") if path != self.guide)
        others = ("samples/README.md", "docs/guarantees.md", "docs/performance.md", "docs/architecture.md", "CHANGELOG.md",
                  "CONTRIBUTING.md")
        self.others = [checkout / name for name in others]
        self.pages = [self.front, self.guide, *self.guide_pages, *self.others]

    def page_name(self, path):
        if path == self.front:
            return "mainpage"
        return re.sub(r"\W", "_", str(path.relative_to(self.checkout).with_suffix("")))

    def picture(self, page, words, target):
        """Copies it beside the pages."""
        source = (page.parent / target).resolve()
        place = pathlib.Path("pictures") / source.relative_to(self.checkout / "docs")
        (self.folder / "html" / place).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, self.folder / "html" / place)
        return f'<img src="{place}" alt="{escape(words)}"/>'

    def link(self, page, match):
        is_picture, words, target = match.groups()
        words = words.replace("\n", " ")  # doxygen takes no link over two lines
        plain = words.replace("`", "")    # nor code in one
        if is_picture:
            return self.picture(page, words, target)
        file, _, heading = target.partition("#")
        found = page if file == "" else (page.parent / file).resolve()
        if found in self.pages:
            name = f"{self.page_name(found)}-{heading}" if heading else self.page_name(found)
            return f"[{plain}](@ref {name})"
        place = str(found.relative_to(self.checkout))
        if re.fullmatch(r"Runtime/\w+/include/\w+/\w+\.h", place):
            return f"[{plain}](@ref {found.name})"
        return f"`{place}`" if plain in place else f"{words} (`{place}`)"

    def heading(self, page, match):
        signs, words = match.groups()
        if signs == "#":
            # In a title, the search would find a %; a non-breaking space makes one word of the name.
            return f"# {words.replace('Vestrel ', f'Vestrel{NO_BREAK}')} {{#{self.page_name(page)}}}"
        # A heading with its own name would appear in the tree.
        return f"\\anchor {self.page_name(page)}-{name_of(words)}\n\n{signs} {words}"

    def page(self, path):
        parts = FENCE.split(re.sub(r"<!-- .*? -->", "", path.read_text()))
        for k in range(0, len(parts), 2):  # outside code
            parts[k] = re.sub(r"^(#+) (.*)$", lambda match: self.heading(path, match), parts[k], flags=re.MULTILINE)
            # Code over two lines would become a block.
            parts[k] = re.sub(r"`[^`]+`", lambda match: match[0].replace("\n", " "), parts[k])
            parts[k] = LINK.sub(lambda match: self.link(path, match), parts[k])
            # doxygen would link the project's name to the namespace.
            parts[k] = re.sub(rf"(`[^`]+`)|\bVestrel\b(?!::|{NO_BREAK})", lambda match: match[1] or "%Vestrel", parts[k])
        return "".join(parts)

    def header(self, path):
        """Its first comment becomes that of the file; lines keep their numbers."""
        text = path.read_text().replace("[[gnu::always_inline]] ", "")
        head = re.match(r"#pragma once\n\n((?://(?!/).*\n)*)", text)
        if head is None:
            sys.exit(f"pages.py: {path} does not start with #pragma once")
        comment = re.sub(r"^//", "///", head[1], flags=re.MULTILINE)
        return f"#pragma once\n/// @file\n{comment}{text[head.end():]}"

    def configuration(self, text):
        """<zr_support/config.h>, independent of a build."""
        project = (self.checkout / "CMakeLists.txt").read_text()
        numbers = re.search(r"^project\(Vestrel VERSION (\d+)\.(\d+)\.(\d+)", project, re.MULTILINE)
        if numbers is None:
            sys.exit("pages.py: CMakeLists.txt names no version")
        for name, number in zip(("_MAJOR", "_MINOR", "_PATCH", ""), (*numbers.groups(), ".".join(numbers.groups()))):
            text = text.replace(f"@PROJECT_VERSION{name}@", number)
        return re.sub(r"^#cmakedefine01 (\w+)$", r"#define \1 0", text, flags=re.MULTILINE)

    def tree(self):
        """The navigation on the left."""
        def tab(path):
            return f'<tab type="user" url="@ref {self.page_name(path)}" title="{escape(title_of(path))}"/>'
        def tabs(kind, title, *kinds):
            inner = "".join(f'<tab type="{name}" visible="yes" title="" intro=""/>' for name in kinds)
            return f'<tab type="{kind}" visible="yes" title="{title}">{inner}</tab>'
        guide = "".join(map(tab, self.guide_pages))
        return (f'<navindex><tab type="usergroup" url="@ref {self.page_name(self.guide)}" title="Guide">{guide}</tab>'
                + "".join(map(tab, self.others))
                + tabs("classes", "Classes", "classlist", "classmembers")
                + tabs("namespaces", "Namespaces", "namespacelist", "namespacemembers")
                + tabs("files", "Headers", "filelist") + "</navindex>")

    def write(self, target, text):
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text)

    def make(self):
        for path in self.pages:
            self.write(self.folder / "pages" / path.relative_to(self.checkout), self.page(path))
        for include in sorted(self.checkout.glob("Runtime/*/include")):
            for path in sorted(include.glob("*/*.h")):  # not the backends in simd/
                self.write(self.folder / "include" / path.relative_to(include), self.header(path))
            for path in sorted(include.glob("*/*.h.in")):
                target = self.folder / "include" / path.relative_to(include).with_suffix("")
                self.write(target, self.configuration(self.header(path)))
        layout = self.folder / "layout.xml"
        text, count = re.subn(r"<navindex>.*</navindex>", lambda _: self.tree(), layout.read_text(), flags=re.DOTALL)
        if count != 1:
            sys.exit("pages.py: layout.xml is not what doxygen 1.9 writes")
        layout.write_text(text)


if __name__ == "__main__":
    try:
        Site(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:])).make()
    except OSError as error:
        sys.exit(f"pages.py: {error.filename}: {error.strerror}")
