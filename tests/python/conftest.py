"""Shared fixtures: the bundled samples and the typed API's own answers on them."""
import json
import os
import pathlib
import subprocess

import numpy as np
import pytest

import imgtarn

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = pathlib.Path(os.environ.get("IMGTARN_SAMPLES", ROOT / "samples"))
REFERENCE = os.environ.get("IMGTARN_REFERENCE", ROOT / "build/tests/python/python_reference")

# OpenCV's element codes in its JSON matrices.
DTYPES = {"u": np.uint8, "f": np.float32, "i": np.int32}


class Samples:
    """The sample images as the reference program reads them."""

    def __init__(self, heights):
        self.heights = heights

    @staticmethod
    def colour(name):
        return imgtarn.load_image(SAMPLES / name)

    @staticmethod
    def grey(name):
        return imgtarn.load_image(SAMPLES / name)[:, :, 0]


def as_array(node):
    """An OpenCV JSON matrix as a numpy array; other JSON objects as they are."""
    if node.get("type_id") != "opencv-matrix":
        return node
    channels = int(node["dt"][:-1] or 1)
    shape = (node["rows"], node["cols"]) + ((channels,) if channels > 1 else ())
    return np.array(node["data"], DTYPES[node["dt"][-1]]).reshape(shape)


def comparable(value):
    """A result in the form the reference is read into: dicts and lists of float32 numbers,
    ints, strings and (dtype, array) pairs."""
    if hasattr(value, "to_dict"):
        value = value.to_dict()
    if isinstance(value, dict):
        return {key: comparable(item) for key, item in value.items()}
    if isinstance(value, (list, tuple)):
        return [comparable(item) for item in value]
    if isinstance(value, np.ndarray):
        return [str(value.dtype), value]
    if isinstance(value, (float, np.floating)):
        return np.float32(value)
    return value if isinstance(value, str) else int(value)


@pytest.fixture(scope="session")
def reference(tmp_path_factory):
    out = tmp_path_factory.mktemp("reference") / "reference.json"
    subprocess.run([str(REFERENCE), str(SAMPLES), str(out)], check=True)
    with open(out) as file:
        return json.load(file, object_hook=as_array, parse_float=np.float32)


@pytest.fixture(scope="session")
def samples(reference):
    return Samples(reference["heights"])
