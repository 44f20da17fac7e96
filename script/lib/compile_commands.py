"""Writes build/analysis/PRESET/compile_commands.json for each preset named: the product's sources, each once, in the way
that the product compiles it, and only those that no earlier preset has. Prints nothing.
"""
import json
import pathlib
import sys

FOLDERS = ("platform", "language", "log", "engine", "store", "dialogs", "shell", "bench")
ROOT = pathlib.Path(__file__).resolve().parents[2]

seen = set()
for preset in sys.argv[1:]:
    kept = []
    for entry in json.loads((ROOT / "build" / preset / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        # A test compiles some sources of the product for itself.
        of_product = path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in FOLDERS
        if of_product and path not in seen and "/tests/" not in entry["command"]:
            seen.add(path)
            kept.append(entry)
    folder = ROOT / "build" / "analysis" / preset
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "compile_commands.json").write_text(json.dumps(kept, indent=0))
