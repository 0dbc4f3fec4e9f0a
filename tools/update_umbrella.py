#!/usr/bin/env python3
"""Rewrites pigment/pigment.h so that it includes every public header of the library.

Private headers (ending in _p.h) stay out. Run from anywhere; `--check` only reports."""
import pathlib
import sys

root = pathlib.Path(__file__).resolve().parent.parent
order = ["base", "frame", "paged", "smart", "paint", "brush", "fill", "filter", "tiled", "typed"]
lines = ["// libPigment: the raster image and paint engine.",
         "// This umbrella header brings in every public header of the library.", "#pragma once"]
for folder in order:
    headers = sorted(p for p in (root / "pigment" / folder).glob("*.h") if not p.name.endswith("_p.h"))
    if headers:
        lines.append("")
        lines += [f'#include "pigment/{folder}/{h.name}"' for h in headers]
text = "\n".join(lines) + "\n"
target = root / "pigment" / "pigment.h"
if "--check" in sys.argv:
    if target.read_text() != text:
        print("pigment/pigment.h is not up to date: run tools/update_umbrella.py")
        sys.exit(1)
else:
    target.write_text(text)
