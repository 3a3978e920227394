"""What scripts share that put a table into docs/performance.md."""
import argparse
import contextlib
import os
import tempfile


def arguments(doc, frames):
    parser = argparse.ArgumentParser(description=doc, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("page")
    parser.add_argument("--frames", type=int, default=frames)
    parser.add_argument("--repetitions", type=int, default=7)
    parser.add_argument("--print", action="store_true")
    options = parser.parse_args()
    options.page = os.path.abspath(options.page)
    return options


def program(options, name):
    return os.path.abspath(os.path.join(options.build, "bin", name))


@contextlib.contextmanager
def scratch_folder(parent=None):
    """The current one while it lasts."""
    before = os.getcwd()
    with tempfile.TemporaryDirectory(dir=parent if parent and os.path.isdir(parent) else None) as folder:
        os.chdir(folder)
        try:
            yield
        finally:
            os.chdir(before)


def put(options, part, figures):
    """In place of what is between the marks of a part of the page, or on the terminal."""
    if options.print:
        print(figures, end="")
        return
    begin, end = f"<!-- {part} -->\n", f"<!-- end of {part} -->"
    with open(options.page, encoding="utf-8") as page:
        before, rest = page.read().split(begin)
    with open(options.page, "w", encoding="utf-8") as page:
        page.write(before + begin + figures + end + rest.split(end)[1])
