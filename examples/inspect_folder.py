#!/usr/bin/env python3
"""Locates the fiducial of every image in a folder: one JSON line per image on stdout, a
progress bar on stderr.

    PYTHONPATH=build/python python3 examples/inspect_folder.py samples --shape circle --radius 20

Each line is {"image": PATH, ...LocateFiducial's result...}, or {"image": PATH, "error": TEXT}
for a file that is not an image. The images are inspected by a pool of threads: every call
releases the GIL, so the pool keeps every core busy.
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import sys

import numpy as np

import imgtarn

try:
    from tqdm import tqdm
except ImportError:
    tqdm = None

EXTENSIONS = {".bmp", ".jpeg", ".jpg", ".png", ".tif", ".tiff"}
# OpenCV's weights of blue, green and red in a grey level (ITU-R BT.601).
GREY_WEIGHTS = np.array([0.114, 0.587, 0.299])


def grey(path):
    return np.rint(imgtarn.load_image(path) @ GREY_WEIGHTS).astype(np.uint8)


def inspect(path, options):
    try:
        result = imgtarn.locate_fiducial(grey(path), **options).to_dict()
    except (ValueError, imgtarn.Error) as error:
        result = {"error": str(error)}
    return {"image": str(path), **result}


def counted(items, total):
    """A plain counter on stderr, where tqdm is not installed."""
    for done, item in enumerate(items, 1):
        print(f"\r{done}/{total} images", end="", file=sys.stderr, flush=True)
        yield item
    print(file=sys.stderr)


def with_progress(items, total):
    if tqdm is None:
        return counted(items, total)
    return tqdm(items, total=total, unit="image", file=sys.stderr)


def options_from(args):
    options = {"shape": args.shape}
    if args.radius is not None:
        options["radius"] = args.radius
    if args.size is not None:
        width, height = args.size.lower().split("x")
        options["size"] = (float(width), float(height))
    return options


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--shape", choices=["circle", "cross", "rectangle"], default="circle")
    parser.add_argument("--radius", type=float, help="circle: nominal radius in pixels")
    parser.add_argument("--size", help="cross, rectangle: nominal full WIDTHxHEIGHT in pixels")
    parser.add_argument("--threads", type=int, default=os.cpu_count())
    args = parser.parse_args()
    options = options_from(args)
    paths = sorted(p for p in args.folder.iterdir() if p.suffix.lower() in EXTENSIONS)
    with concurrent.futures.ThreadPoolExecutor(args.threads) as pool:
        lines = pool.map(lambda path: inspect(path, options), paths)
        for line in with_progress(lines, len(paths)):
            print(json.dumps(line), flush=True)


if __name__ == "__main__":
    main()
