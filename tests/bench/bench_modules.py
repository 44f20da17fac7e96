"""Lets the tests of this folder import the benchmark's own modules."""
import os
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "script/lib"))

BUILD = os.environ.get("ZELKOR_BUILD", "")
