"""The wording rules: what the texts of every language must have in common with the English ones.

A rule is given the texts of a zone and those of the English zone, both by slot and with their escapes as they stand. It
yields (slot, fault) for each text that breaks it. The English zone is held against itself. RULES lists all of them.
"""

import re
import unicodedata

SESSION_ENDED, SESSION_ACCEPTED = 134, 143
REJECTIONS = range(135, 143)
DATE_FORMAT, ENTRY_FORMAT, FORMAT_HELP = 30, 31, 32
LONG_TEXTS = (39, 43, 44)
FILE_FILTERS = (10, 163)

# Captions of controls and columns, and the words of the status column: their places have a fixed size.
CAPTIONS = {
    slot
    for first, last in [
        (0, 2), (11, 17), (19, 21), (23, 25), (34, 38), (40, 42), (49, 56), (71, 84), (95, 115), (118, 118), (122, 124),
        (129, 129), (144, 158), (174, 187), (198, 200), (219, 221), (225, 227),
    ]
    for slot in range(first, last + 1)
}  # fmt: skip

# A text quotes these captions as they stand in the windows.
QUOTES = {39: (38,), 41: (113, 124), 44: (15, 73, 75, 79, 82, 204, 205), 83: (2, 202, 203)}

# Names, numbers and what the user types.
KEPT = (
    "Velmoorstack", "ZELKOR", "KPRL", "UDP", "ICMP", "IP", "Windows", "1000", "999", "65535", "((1497 - (", "/ 2)",
    "netstat -n -a", " -NoInstall", "-uninstall  ", "-noinstall  ", "-help", "-start_minimized  ", "WSAStartup()",
    "v1.1", "v1.4", "->", '"C:\\', "VelmoorstackZELKORv1.0.exe", "~\\_", "_/~",
)  # fmt: skip


def columns(text):
    """How many columns of a fixed-width font the text takes; an East Asian character takes two."""
    return sum(2 if unicodedata.east_asian_width(character) in "WF" else 1 for character in text)


def without_colon(text):
    """A caption without its colon and the no-break space that French puts before it."""
    return text.removesuffix(":").removesuffix("\u00a0")


def is_there(texts, english):
    for slot, text in enumerate(texts):
        if bool(text) != bool(english[slot]):
            yield slot, "empty, unlike the English text" if english[slot] else "a text where English has none"


def is_translated(texts, english):
    if texts == english:
        return
    for slot, text in enumerate(texts):
        if len(text) > 20 and text == english[slot] and slot != DATE_FORMAT:
            yield slot, "the English text"


def is_told_in_full(texts, english):
    for slot in LONG_TEXTS:
        paragraphs, originals = texts[slot].split("\n"), english[slot].split("\n")
        if len(paragraphs) != len(originals):
            yield slot, f"lines: {len(paragraphs)} instead of {len(originals)}"
        for paragraph, original in zip(paragraphs, originals):
            step = re.compile(r"(?:[0-9]+\.)?").match
            if step(paragraph)[0] != step(original)[0]:
                yield slot, f"the number of the line differs: {paragraph}"
            # The tersest language needs half the room of English.
            if 5 * columns(paragraph) < 2 * columns(original):
                yield slot, f"too short: {paragraph}"


def has_codes_and_line_ends(texts, english):
    # A folder whose name begins with r, n or t behind a backslash would be cut by the escape.
    for what, pattern in ("format codes", "%[A-Za-z0-9]+"), ("escapes", r"""\\[rnt"']"""), ("line ends", "\n"):
        for slot, text in enumerate(texts):
            found, expected = re.findall(pattern, text), re.findall(pattern, english[slot])
            if found != expected:
                yield slot, f"{what} {found} instead of {expected}"
    if not (texts[ENTRY_FORMAT].startswith("[%E], ") and texts[ENTRY_FORMAT].endswith(": [%DAT]")):
        yield ENTRY_FORMAT, "must begin with the event and end with the time"


def begins_and_ends_alike(texts, english):
    """Texts are shown behind and ahead of others, and one caption serves a menu, a button and a column."""
    blanks = re.compile(r"([ \t]*)(?:.*[^ \t])?([ \t]*)", re.DOTALL).fullmatch
    for slot, text in enumerate(texts):
        if slot not in (SESSION_ENDED, SESSION_ACCEPTED) and blanks(text).groups() != blanks(english[slot]).groups():
            yield slot, "other blanks at its begin or end than the English text"
        for end in ":", "...":
            if text.endswith(end) != english[slot].endswith(end):
                yield slot, f'only one of this and the English text ends with "{end}"'
        for mark in "&\u2026":
            if mark in text:
                yield slot, f'"{mark}" in a text'


def keeps_names(texts, english):
    for slot, text in enumerate(texts):
        for kept in KEPT:
            if kept in english[slot] and kept not in text:
                yield slot, f'lacks "{kept}"'


def keeps_file_filters(texts, english):
    for slot in FILE_FILTERS:
        parts, originals = texts[slot].split("|"), english[slot].split("|")
        names, patterns = parts[::2], parts[1::2]
        if len(parts) != len(originals) or patterns != originals[1::2] or parts[-1]:
            yield slot, "another filter than the English one"
        elif not all(name.endswith(f" ({pattern})") for name, pattern in zip(names, patterns) if pattern):
            yield slot, "a filter that does not show its pattern"


def fits_its_place(texts, english):
    for slot in CAPTIONS:
        # Even the smallest button has room for ten characters.
        room = max(10, 2 * columns(english[slot]))
        if columns(texts[slot]) > room:
            yield slot, f"takes {columns(texts[slot])} columns where {room} are"


def says_the_same_in_the_same_words(texts, english):
    slots = {}
    for slot, text in enumerate(texts):
        first = slots.setdefault(without_colon(english[slot]), slot)
        if without_colon(text) != without_colon(texts[first]):
            yield slot, f"unlike slot {first}, with which it is one in English"
    for slot in REJECTIONS:
        if texts[slot].split(" - ")[0] != texts[REJECTIONS[0]].split(" - ")[0]:
            yield slot, f"another verdict than slot {REJECTIONS[0]}"


def quotes_captions(texts, _english):
    for slot, quoted in QUOTES.items():
        for caption in quoted:
            if texts[caption] not in texts[slot]:
                yield slot, f'does not quote slot {caption}, "{texts[caption]}"'


def aligns_in_the_log(texts, english):
    """The words for a session's begin and end take the same room, and the help shows the one that is padded."""
    ended, accepted = texts[SESSION_ENDED], texts[SESSION_ACCEPTED]
    # The English words are not padded; only the help speaks of them as if they were.
    if texts == english:
        ended += "   "
    padded = ended if ended.endswith(" ") else accepted
    if columns(ended) != columns(accepted) or not padded.endswith(" "):
        yield SESSION_ENDED, f"is not padded to one length with slot {SESSION_ACCEPTED}"
    if f"[{padded}]" not in texts[FORMAT_HELP]:
        yield FORMAT_HELP, f"does not show [{padded}]"


RULES = (
    is_there, is_translated, is_told_in_full, has_codes_and_line_ends, begins_and_ends_alike, keeps_names,
    keeps_file_filters, fits_its_place, says_the_same_in_the_same_words, quotes_captions, aligns_in_the_log,
)  # fmt: skip

# Texts that other systems, saved files or users' habits depend on, oddities included.
TO_THE_LETTER = {
    "general": {
        0: "English", 1: "Please choose your language",
        2: "Nederlands", 3: "Gelieve te kiezen uw taal",
        4: "Deutsch", 5: "Wählen Sie bitte Ihre Sprache",
        6: "Français", 7: "Veuillez choisir votre langue",
        8: "Español", 9: "Elija por favor su lengua",
        10: "Portuguese", 11: "Escolha por favor sua língua",
        12: "Italiano", 13: "Scelga prego la vostra lingua",
        14: "日本語", 15: "あなたの言語を選びなさい",
        16: "汉语", 17: "請選擇您的語言",
        18: "Русско", 19: "Пожалуйста выберите ваш язык",
    },
    "english": {
        8: r"There is a newer version of %s available.\n    Would you like to go to the description page?",
        10: "Text Files (*.txt)|*.txt|All Files (*.*)|*.*||",
        30: "%Y.%MY.%D - %H24:%MN:%S.%MS",
        31: "[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, "
        "Time: [%DAT]",
        41: 'When I press "Start", I get "Error starting", what is wrong?',
        58: "An error has occured during the installation of the ZELKOR service.",
        94: r"Would you like to install %s %s?\r\n\r\nYes - Continue to installation.\r\n\r\nNo - Run self contained "
        r"program without installing.\r\n\r\nCancel - Obvious.\r\n",
        119: r"~\_Client_/~",
        134: "Session ended",
        136: "Session rejected - too many threads",
        138: "Session rejected - too many threads",
        142: "Session rejected - unable to establish remote host connection",
        143: "Session accepted",
        193: 'Continue and close current sessions?"',
        227: "Visit the online help centre",
        229: "",
    },
}  # fmt: skip


def differences_from_the_letter(name, texts):
    for slot, text in TO_THE_LETTER.get(name, {}).items():
        if texts[slot] != text:
            yield slot, f"must be, to the letter: {text}"
