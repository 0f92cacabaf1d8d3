"""Lists of exceptions, each with its reason.

    # a comment
    src/file.cpp
        | text that is excepted
        | more of it
        Why it is, in as many lines as that takes.

An entry begins with a file's name. Indented below it stand texts, behind one of the marks, and the
reason; a blank line ends it. Texts are those of the source without its indentation, so that an
entry outlives changes elsewhere in the file.
"""

from dataclasses import dataclass, field


class Malformed(Exception):
    pass


@dataclass
class Entry:
    place: str  # file:line of the list, for messages
    file: str
    texts: list = field(default_factory=list)  # of (mark, text)
    reason: str = ""


def read(path, marks):
    entries = []
    current = None
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, start=1):
            place, text = f"{path}:{number}", line.strip()
            if not text:
                current = None
            elif text.startswith("#") and current is None:
                continue
            elif not line[0].isspace():
                current = Entry(place, text)
                entries.append(current)
            elif current is None:
                raise Malformed(f"{place}: belongs to no file")
            elif text[0] in marks and text[1:2] in (" ", ""):
                if current.reason:
                    raise Malformed(f"{place}: a text behind the reason")
                current.texts.append((text[0], text[2:].strip()))
            else:
                current.reason += (" " if current.reason else "") + text
    for entry in entries:
        if not entry.texts or not entry.reason:
            raise Malformed(f"{entry.place}: an entry is texts and their reason")
    return entries
