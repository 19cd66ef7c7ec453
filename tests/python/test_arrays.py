"""Arrays of any layout give the answer of their packed copy; arrays and options the module
cannot work on raise TypeError, ValueError or imgtarn.Error naming the argument, and no
array crashes the interpreter."""
import numpy as np
import pytest

import imgtarn
from conftest import comparable

GREY = np.zeros((40, 50), np.uint8)
COLOUR = np.zeros((40, 50, 3), np.uint8)


def strided(image, row_step):
    """`image` inside a larger buffer whose rows are `row_step` bytes apart."""
    rows, row_bytes = image.shape[0], image[0].nbytes
    buffer = np.zeros(rows * row_step, np.uint8)
    for row in range(rows):
        buffer[row * row_step:row * row_step + row_bytes] = image[row].reshape(-1).view(np.uint8)
    strides = (row_step,) + image.strides[1:]
    return np.lib.stride_tricks.as_strided(buffer.view(image.dtype), image.shape, strides)


def unaligned(image):
    buffer = np.zeros(image.nbytes + 1, np.uint8)[1:]
    buffer[:] = image.reshape(-1).view(np.uint8)
    return buffer.view(image.dtype).reshape(image.shape)


def read_only(image):
    image = image.copy()
    image.flags.writeable = False
    return image


LAYOUTS = {
    "reversed": lambda a: np.ascontiguousarray(a[::-1, ::-1])[::-1, ::-1],
    "transposed": lambda a: np.asfortranarray(a),
    "every other column": lambda a: np.repeat(a, 2, axis=1)[:, ::2],
    "rows 64 KiB apart": lambda a: strided(a, 1 << 16),
    "unaligned": unaligned,
    "read-only": read_only,
}

# One call per input kind, each with an output that shows any misread pixel.
CALLS = {
    "grey": lambda s, a=None: imgtarn.detect_edges(s.grey("disc_clean.png") if a is None else a),
    "colour": lambda s, a=None: imgtarn.fill_black_holes(
        s.colour("holes.png") if a is None else a, (180, 120, 60)),
    "heights": lambda s, a=None: imgtarn.median_filter(s.heights if a is None else a),
}


@pytest.mark.parametrize("layout", sorted(LAYOUTS))
@pytest.mark.parametrize("kind", sorted(CALLS))
def test_any_layout_gives_the_answer_of_its_packed_copy(kind, layout, samples):
    call = CALLS[kind]
    packed = {"grey": samples.grey("disc_clean.png"), "colour": samples.colour("holes.png"),
              "heights": samples.heights}[kind]
    array = LAYOUTS[layout](np.ascontiguousarray(packed))
    np.testing.assert_array_equal(array, packed)
    np.testing.assert_equal(comparable(call(samples, array)), comparable(call(samples)))


ERRORS = [
    # (call, exception, start of the message)
    (lambda: imgtarn.locate_circle_mark(GREY[:0]), ValueError, "image: no pixel"),
    (lambda: imgtarn.locate_circle_mark(GREY.astype(np.float64)), TypeError, "image: expected"),
    (lambda: imgtarn.fill_black_holes(GREY, (0, 0, 0)), ValueError, "image: expected"),
    (lambda: imgtarn.median_filter(GREY), TypeError, "heights: expected"),
    (lambda: imgtarn.match_pads(GREY, [GREY, GREY.astype(np.int16)]), TypeError, "templates[1]:"),
    (lambda: imgtarn.match_pads(GREY, GREY), TypeError, "templates: expected a list"),
    (lambda: imgtarn.calibrate_flat_field([COLOUR, COLOUR[:, :, :2]]), ValueError, "images[1]:"),
    (lambda: imgtarn.locate_circle_mark(np.broadcast_to(GREY[:1], (1 << 31, 50))), ValueError,
     "image: a side beyond"),
    (lambda: imgtarn.locate_circle_mark(GREY, method="fast"), ValueError, "method: expected"),
    (lambda: imgtarn.locate_fiducial(GREY, shape="square"), ValueError, "shape: expected"),
    (lambda: imgtarn.median_filter(GREY.astype(np.float32), even="middle"), ValueError, "even:"),
    # The typed API's own refusals.
    (lambda: imgtarn.locate_circle_mark(GREY, radius=-1), ValueError, "radius:"),
    (lambda: imgtarn.score_overlay(GREY, GREY[:20], GREY), ValueError, "cad:"),
    (lambda: imgtarn.load_image("/nonexistent/x.png"), ValueError, "path:"),
    # OpenCV's.
    (lambda: imgtarn.save_image("/nonexistent/x.unknown", GREY), imgtarn.Error, "OpenCV"),
]


@pytest.mark.parametrize("call, error, message", ERRORS)
def test_refused_input_raises_naming_the_argument(call, error, message):
    with pytest.raises(error) as raised:
        call()
    assert str(raised.value).startswith(message)


ODD_ARRAYS = {
    "0 x 0": np.zeros((0, 0), np.uint8),
    "5 x 0 x 3": np.zeros((5, 0, 3), np.uint8),
    "1 x 1": np.zeros((1, 1), np.uint8),
    "1 x 1 float32": np.zeros((1, 1), np.float32),
    "2 x 2 x 4": np.zeros((2, 2, 4), np.uint8),
    "4-D": np.zeros((2, 3, 4, 3), np.uint8),
    "1-D": np.zeros(10, np.uint8),
    "strides of a megabyte": np.lib.stride_tricks.as_strided(
        np.zeros(1 << 22, np.uint8), (4, 4), (1 << 20, 1 << 18)),
    "zero strides": np.broadcast_to(np.uint8(200), (30, 40)),
    "zero strides, 2^31 rows": np.broadcast_to(np.uint8(200), (1 << 31, 3)),
    "bool": np.ones((20, 20), bool),
    "float64": np.ones((20, 20, 3)),
    "object": np.full((3, 3), None),
    "not an array": "image.png",
}

# Every function with an array argument, each array given to all its array arguments.
FUNCTIONS = {
    "locate_fiducial": lambda a: imgtarn.locate_fiducial(a, radius=1),
    "locate_circle_mark": lambda a: imgtarn.locate_circle_mark(a, radius=1),
    "detect_hough_circle": lambda a: imgtarn.detect_hough_circle(a, radius=1),
    "refine_circle_edges": lambda a: imgtarn.refine_circle_edges(a, (0, 0), radius=1),
    "locate_cross_mark": lambda a: imgtarn.locate_cross_mark(a, size=(3, 3)),
    "locate_rectangle_mark": lambda a: imgtarn.locate_rectangle_mark(a, size=(3, 3)),
    "detect_edges": lambda a: imgtarn.detect_edges(a, fill=True),
    "split_pads": imgtarn.split_pads,
    "match_pads": lambda a: imgtarn.match_pads(a, [a]),
    "score_overlay": lambda a: imgtarn.score_overlay(a, a, a),
    "calibrate_flat_field": lambda a: imgtarn.calibrate_flat_field([a, a]),
    "apply_flat_field": lambda a: imgtarn.apply_flat_field(
        a, imgtarn.FlatFieldCoefficients(np.zeros((1, 1, 3), np.float32),
                                          np.ones((1, 1, 3), np.float32))),
    "flat_field_coefficients": lambda a: imgtarn.FlatFieldCoefficients(a, a),
    "fill_black_holes": lambda a: imgtarn.fill_black_holes(a, (0, 0, 0)),
    "dominant_levels": imgtarn.dominant_levels,
    "resize": lambda a: imgtarn.resize(a, (3, 2)),
    "median_filter": imgtarn.median_filter,
}


@pytest.mark.parametrize("name", sorted(ODD_ARRAYS))
@pytest.mark.parametrize("function", sorted(FUNCTIONS))
def test_odd_arrays_give_an_answer_or_a_python_error(function, name):
    try:
        FUNCTIONS[function](ODD_ARRAYS[name])
    except (TypeError, ValueError, imgtarn.Error):
        pass
