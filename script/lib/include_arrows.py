"""Proves that includes go one way only: each folder includes itself and what stands in front of it.

Prints each include that goes against the arrow, and ends with 1 if there is one.
"""

import pathlib
import re
import sys

FOLDERS = ["platform", "language", "log", "engine", "store", "dialogs", "shell"]
# The program's record is put together in shell/ of records that the folders own; the files and the windows know it whole.
RECORD = {"shell/app_settings.h", "shell/window_settings.h"}
KNOW_RECORD = {"store", "dialogs"}
# Names and numbers that a resource script can include too; they include nothing.
DATA = "resources"


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    wrong = 0
    for rank, folder in enumerate(FOLDERS):
        allowed = set(FOLDERS[: rank + 1]) | {DATA}
        for path in sorted((root / folder).rglob("*.[ch]*")):
            for number, line in enumerate(path.read_text().splitlines(), 1):
                include = re.match(r'\s*#\s*include "([^"]+)"', line)
                if not include or include[1].split("/")[0] in allowed:
                    continue
                if folder in KNOW_RECORD and include[1] in RECORD:
                    continue
                print(f"{path.relative_to(root)}:{number}: {folder}/ may not include {include[1]}")
                wrong = 1
    return wrong


if __name__ == "__main__":
    sys.exit(main())
