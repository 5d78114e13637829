#!/usr/bin/python3
"""office_text.py PIPE | --check

Follows the text of the one document of an office program that was started with
--accept=pipe,name=PIPE;urp;. Prints "ready" once the document is there and in front, then "content LINE"
after each change: formatting between brackets, paragraphs separated by line ends, and backslash, tab and
line end as two characters. SIGUSR1 empties the document, which is answered by "cleared". With --check
nothing happens; the exit status tells whether this can work here.
"""

import signal
import sys
import time

try:
    import uno
except ImportError:
    sys.exit("office_text.py: python3-uno is not installed")

SECONDS_TO_START = 60
SECONDS_BETWEEN_LOOKS = 0.02
BOLD = 110


def connect(pipe):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext(
        "com.sun.star.bridge.UnoUrlResolver", local)
    deadline = time.monotonic() + SECONDS_TO_START
    while True:
        try:
            context = resolver.resolve(
                f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
            desktop = context.ServiceManager.createInstanceWithContext(
                "com.sun.star.frame.Desktop", context)
            document = desktop.getCurrentComponent()
            if document is not None and document.CurrentController.Frame.isActive():
                return document
        except Exception:  # not there yet, in many ways
            if time.monotonic() > deadline:
                raise
        time.sleep(SECONDS_BETWEEN_LOOKS)


def format_of(portion):
    if portion.HyperLinkURL:
        return f"[@{portion.HyperLinkURL}]"
    bold = "[b]" if portion.CharWeight > BOLD else ""
    return bold + (f"[#{portion.CharColor:06x}]" if portion.CharColor > 0 else "")


def picture_of(portion):
    frames = portion.createContentEnumeration("com.sun.star.text.TextContent")
    size = frames.nextElement().Graphic.SizePixel
    return f"[picture {size.Width}x{size.Height}]"


def content_of(document):
    text = ""
    before = ""

    def add(style, part):
        nonlocal text, before
        if style != before:
            text += ("[]" if before else "") + style
            before = style
        text += part

    paragraphs = document.Text.createEnumeration()
    first = True
    while paragraphs.hasMoreElements():
        paragraph = paragraphs.nextElement()
        if not first:
            add("", "\n")
        first = False
        portions = paragraph.createEnumeration()
        while portions.hasMoreElements():
            portion = portions.nextElement()
            if portion.TextPortionType == "Frame":
                add("", picture_of(portion))
            elif portion.String:
                add(format_of(portion), portion.String)
    add("", "")
    return text


def tell(kind, text=""):
    for plain, escaped in (("\\", "\\\\"), ("\t", "\\t"), ("\n", "\\n")):
        text = text.replace(plain, escaped)
    print(kind, text, flush=True)


def clear(document):
    document.Text.setString("")
    cursor = document.CurrentController.ViewCursor
    cursor.gotoStart(False)
    for name in ("CharWeight", "CharColor", "HyperLinkURL"):
        cursor.setPropertyToDefault(name)


def main():
    if sys.argv[1] == "--check":
        return
    is_clearing = []
    signal.signal(signal.SIGUSR1, lambda *_: is_clearing.append(True))
    document = connect(sys.argv[1])
    print("ready", flush=True)
    content = ""
    while True:
        if is_clearing:
            is_clearing.clear()
            clear(document)
            content = ""
            print("cleared", flush=True)
        try:
            now = content_of(document)
        except Exception:  # it changed under the eyes
            continue
        if now != content:
            content = now
            tell("content", content)
        time.sleep(SECONDS_BETWEEN_LOOKS)


if __name__ == "__main__":
    main()
