"""Reads the message catalogue: the files *.msg of one folder, one message a line."""
import pathlib
import re

SEVERITIES = {
    "info": "kInfo",
    "warning": "kWarning",
    "critical warning": "kCriticalWarning",
    "error": "kError",
}
ID = re.compile(r"\d+-\d+")
KINDS = re.compile(r"(?:%[sd])*")
PLACE = re.compile(r"\{(\d+)\}")


class Message:
    """One line of the catalogue."""

    def __init__(self, where, domain, ident, mask, kinds, text):
        self.where = where
        self.domain = domain
        self.ident = ident
        self.mask = mask
        self.kinds = kinds
        self.text = text


def _text_faults(kinds, text):
    """What is wrong between the text's places and the arguments."""
    count = len(kinds) // 2
    places = {int(number) for number in PLACE.findall(text)}
    faults = []
    if not text:
        faults.append("has no text")
    for number in sorted(places):
        if not 1 <= number <= count:
            faults.append(f"shows {{{number}}}, but has {count} argument(s)")
    for number in range(1, count + 1):
        if number not in places:
            faults.append(f"doesn't show its argument {{{number}}}")
    return faults


def _parse_line(where, domain, line, errors):
    fields = [field.strip() for field in line.split("|", 3)]
    if len(fields) != 4:
        errors.append(f"{where}: not of the form id | severity | arguments | text")
        return None
    ident, severity, kinds, text = fields
    if not ID.fullmatch(ident):
        errors.append(f"{where}: '{ident}' is no id such as 36-66")
        return None
    if severity not in SEVERITIES:
        errors.append(f"{where}: {ident}: '{severity}' is no severity")
        return None
    if not KINDS.fullmatch(kinds):
        errors.append(f"{where}: {ident}: arguments are %s and %d, not '{kinds}'")
        return None
    errors.extend(f"{where}: {ident} {fault}" for fault in _text_faults(kinds, text))
    return Message(where, domain, ident, SEVERITIES[severity], kinds, text)


def _lines(path):
    """The lines of a catalogue file that say something, with their numbers."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if line.strip() and not line.startswith("#"):
            yield number, line


def read_catalogue(folder, errors):
    """The messages by id. What is wrong is appended to errors as file:line: text."""
    messages = {}
    homes = {}  # first number of the ids -> domain
    for path in sorted(pathlib.Path(folder).glob("*.msg")):
        for number, line in _lines(path):
            where = f"{path}:{number}"
            message = _parse_line(where, path.stem, line, errors)
            if message is None:
                continue
            first = message.ident.split("-")[0]
            if homes.setdefault(first, path.stem) != path.stem:
                errors.append(f"{where}: {message.ident}: ids {first}-... belong to {homes[first]}.msg")
            if message.ident in messages:
                errors.append(f"{where}: {message.ident} has a text already, at {messages[message.ident].where}")
            else:
                messages[message.ident] = message
    return messages


def read_reserved(folder, errors):
    """The ids of reserved.txt, with the place where each stands."""
    path = pathlib.Path(folder) / "reserved.txt"
    reserved = {}
    if path.exists():
        for number, line in _lines(path):
            ident = line.strip()
            if not ID.fullmatch(ident):
                errors.append(f"{path}:{number}: '{ident}' is no id such as 36-66")
            elif ident in reserved:
                errors.append(f"{path}:{number}: {ident} is listed twice")
            else:
                reserved[ident] = f"{path}:{number}"
    return reserved
