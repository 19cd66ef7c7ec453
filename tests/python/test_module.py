"""Each family on the samples gives the typed API's answer, from one thread or four, images
make the round trip through files, and the example inspects the samples."""
import concurrent.futures
import json
import math
import pathlib
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import imgtarn
from conftest import ROOT, SAMPLES, comparable


def pad_templates(s):
    split = imgtarn.split_pads(s.grey("pads.png"), grid_rows=1, grid_cols=3)
    return [blob.pixels for blob in split.blobs]


def flat_field(s):
    return imgtarn.calibrate_flat_field(
        [s.colour("flat_low.png"), s.colour("flat_high.png")], window=7, target_low=120)


# The calls of the reference program's cases of the same name.
CASES = {
    "fiducial_circle": lambda s: imgtarn.locate_fiducial(s.grey("circle_inside.png")),
    "fiducial_cross": lambda s: imgtarn.locate_fiducial(s.grey("cross.png"), shape="cross",
                                                        size=(60, 60)),
    "fiducial_rectangle_window": lambda s: imgtarn.locate_fiducial(
        s.grey("rect.png"), shape="rectangle", size=(80, 50), window=(100, 50, 150, 120)),
    "circle_mark_full": lambda s: imgtarn.locate_circle_mark(s.grey("circle_inside.png"),
                                                             radius=20),
    "circle_mark_quick": lambda s: imgtarn.locate_circle_mark(s.grey("circle_border.png"),
                                                              radius=20, method="quick"),
    "circle_mark_two_scale": lambda s: imgtarn.locate_circle_mark(
        s.grey("circle_noisy.png"), radius=20, method="two_scale"),
    "hough_circle_tolerance": lambda s: imgtarn.detect_hough_circle(s.grey("circle_noisy.png"),
                                                                    radius=20, tolerance=2),
    "circle_edges": lambda s: imgtarn.refine_circle_edges(s.grey("circle_inside.png"),
                                                          (148, 113), radius=15),
    "cross_mark": lambda s: imgtarn.locate_cross_mark(s.grey("cross.png"), size=(60, 60)),
    "rectangle_mark": lambda s: imgtarn.locate_rectangle_mark(s.grey("rect.png"),
                                                              size=(80, 50)),
    "edges": lambda s: imgtarn.detect_edges(s.grey("disc_clean.png")),
    "edges_filled": lambda s: imgtarn.detect_edges(s.grey("pad_measured.png"), fill=True,
                                                   min_area=2000),
    "split_pads": lambda s: imgtarn.split_pads(s.grey("pads.png"), grid_rows=1, grid_cols=3),
    "match_pads": lambda s: imgtarn.match_pads(s.grey("pads_scene.png"), pad_templates(s)),
    "score_overlay": lambda s: imgtarn.score_overlay(
        s.grey("pad_boundary.png"), s.grey("pad_cad.png"), s.grey("pad_measured.png")),
    "calibrate_flat_field": flat_field,
    "apply_flat_field": lambda s: imgtarn.apply_flat_field(s.colour("flat_low.png"),
                                                           flat_field(s)),
    "fill_black_holes": lambda s: imgtarn.fill_black_holes(s.colour("holes.png"),
                                                           (180, 120, 60)),
    "dominant_levels": lambda s: imgtarn.dominant_levels(s.colour("holes.png")),
    "resize_colour": lambda s: imgtarn.resize(s.colour("holes.png"), (200, 150),
                                              interpolation="cubic"),
    "median_filter": lambda s: imgtarn.median_filter(
        s.heights, window=5, even="lower", limited=True, lower=0, upper=200),
    "counting_sort": lambda s: imgtarn.counting_sort([5, -2, 7, 5, 0, 7, 7, 1],
                                                     descending=True, first=3),
}


@pytest.mark.parametrize("case", sorted(CASES))
def test_family_gives_the_typed_api_answer(case, samples, reference):
    np.testing.assert_equal(comparable(CASES[case](samples)), comparable(reference[case]))


def test_four_threads_give_the_serial_answers(samples):
    names = sorted(CASES) * 4
    serial = [comparable(CASES[name](samples)) for name in names]
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        parallel = list(pool.map(lambda name: comparable(CASES[name](samples)), names))
    np.testing.assert_equal(parallel, serial)


def test_a_call_lets_other_threads_run():
    # A thread notes the time every millisecond while the main thread is inside a long call.
    # With the GIL held through the call it could note nothing in its middle half: it runs
    # only around the call's start and end, while the main thread waits for the GIL.
    heights = np.random.default_rng(1).random((600, 600), np.float32)
    stamps, stop = [], threading.Event()

    def note_times():
        while not stop.is_set():
            stamps.append(time.monotonic())
            time.sleep(0.001)

    noter = threading.Thread(target=note_times)
    noter.start()
    start = time.monotonic()
    imgtarn.median_filter(heights, window=5)
    end = time.monotonic()
    stop.set()
    noter.join()
    quarter = (end - start) / 4
    assert quarter > 0.01, "the call was too quick to tell"
    assert any(start + quarter < t < end - quarter for t in stamps)


@pytest.mark.parametrize("extension", ["png", "bmp", "tiff"])
def test_colour_round_trip_equals_cv2(extension, samples, tmp_path):
    cv2 = pytest.importorskip("cv2")
    image = samples.colour("holes.png")
    path = tmp_path / f"holes.{extension}"
    imgtarn.save_image(path, image)
    loaded = imgtarn.load_image(path)
    np.testing.assert_array_equal(loaded, cv2.imread(str(path), cv2.IMREAD_COLOR))
    np.testing.assert_array_equal(loaded, image)


def test_example_gives_one_line_per_image_and_finds_the_mark():
    run = subprocess.run([sys.executable, ROOT / "examples/inspect_folder.py", SAMPLES,
                          "--radius", "20"], capture_output=True, text=True, check=True)
    lines = [json.loads(line) for line in run.stdout.splitlines()]
    images = sorted(p.name for p in SAMPLES.iterdir() if p.suffix in (".png", ".tiff"))
    assert [pathlib.Path(line["image"]).name for line in lines] == images
    truth = json.loads((SAMPLES / "ground_truth.json").read_text())["circle_inside"]
    inside = lines[images.index("circle_inside.png")]
    assert inside["found"]
    assert math.dist(inside["centre"], (truth["x"], truth["y"])) < 0.5
