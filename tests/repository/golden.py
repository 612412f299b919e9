"""Checks what docs/guarantees.md says of the golden vectors, with the example port, and that the port notices changes.

golden.py SOURCE
"""

import copy
import hashlib
import importlib.util
import json
import math
import pathlib
import struct
import sys

# Inputs are not only coordinates.
WITHOUT_COORDINATES = {"RotateBasis", "CStdRandomGenerator"}

KINDS = {
    "negative": lambda x: x < 0,
    "-0": lambda x: x == 0 and math.copysign(1, x) < 0,
    "whole": lambda x: x != 0 and abs(x) < 2**20 and x == math.floor(x),
    "next to a whole number": lambda x: 0 < abs(x - round(x)) < 2**-14 < abs(x) if abs(x) < 2**20 else False,
    "tiny": lambda x: 2**-126 <= abs(x) < 2**-20,
    "denormal": lambda x: 0 < abs(x) < 2**-126,
    "2^31 and beyond": lambda x: 2**31 <= abs(x) < math.inf,
    "infinite": math.isinf,
    "not a number": math.isnan,
}


class Wrong(Exception):
    pass


def load_port(folder):
    spec = importlib.util.spec_from_file_location("port", folder / "port.py")
    port = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(port)
    return port


def float_of(text):
    return struct.unpack(">f", bytes.fromhex(text))[0]


def is_ordinary(text):
    return float_of(text) == 0 or 2.0**-40 <= abs(float_of(text)) <= 2.0**20


def floats_in(value):
    """The floats of a vector at any depth, without names of calls."""
    if isinstance(value, list):
        return [text for inner in value for text in floats_in(inner)]
    return [value] if isinstance(value, str) and len(value) == 8 else []


def check_page(page, text):
    if f"SHA-256: `{hashlib.sha256(text.encode()).hexdigest()}`" not in page:
        raise Wrong("docs/guarantees.md does not have the hash of vectors.json: scripts/golden.sh writes both")
    example = next((line.strip() for line in page.split("\n") if line.startswith('    {"in":')), None)
    if example not in [line.rstrip(",") for line in text.split("\n")]:
        raise Wrong(f"the example of docs/guarantees.md is not in vectors.json: {example}")
    if len(text) >= 1000000:
        raise Wrong(f"vectors.json is large: {len(text)} bytes")


def check_lists(operation, lists):
    for vector in lists["ordinary"] + lists["other"]:
        numbers = floats_in(vector["in"]) + floats_in(vector["out"])
        if (vector in lists["ordinary"]) != all(map(is_ordinary, numbers)):
            raise Wrong(f"{operation}: {json.dumps(vector)} is in the wrong list")
        if any(math.isnan(float_of(text)) and text != "7fc00000" for text in numbers):
            raise Wrong(f"{operation}: {json.dumps(vector)} has another NaN than 7fc00000")


def check_kinds(operation, lists):
    """Batch gradients take split positions: fractions in [0, 1)."""
    left_out = {"negative", "-0", "whole", "2^31 and beyond"} if operation.endswith("Batch") else set()
    inputs = [float_of(text) for vector in lists["ordinary"] + lists["other"] for text in floats_in(vector["in"])]
    for kind, is_of_kind in KINDS.items():
        if kind not in left_out and not any(map(is_of_kind, inputs)):
            raise Wrong(f"{operation} has no input of kind '{kind}'")


def check_ordinary(port, vectors):
    """No intermediate result of an ordinary vector is denormal, infinite or NaN."""
    plain = port.rounded

    def watched(value):
        result = plain(value)
        if not (result == 0 or 2.0**-126 <= abs(result) < math.inf):
            raise Wrong(f"an ordinary vector gives {result} on the way")
        return result

    port.rounded = watched
    found = port.differences(vectors, ["ordinary"])
    port.rounded = plain
    if found:
        raise Wrong("\n".join(found))


def expect_complaints(port, vectors, expected):
    found = port.differences(vectors)
    if len(found) != len(expected) or not all(map(str.startswith, found, expected)):
        raise Wrong(f"expected differences of {expected}, found {found}")


def changed(text):
    """Another float: in the last bit, or a number instead of NaN."""
    return f"{int(text, 16) ^ 1:08x}" if text != "7fc00000" else "3f800000"


def check_changes(port, vectors):
    """The port notices one bit of any operation or table."""
    other = copy.deepcopy(vectors)
    for lists in other["operations"].values():
        out = lists["other"][-1]["out"]
        out[-1] = changed(out[-1])
    expect_complaints(port, other, [f"{operation} of " for operation in vectors["operations"]])
    # Without vectors, so that only the table differs.
    for name in ("basis", "phases", "speeds"):
        other = {**vectors, name: vectors[name][:-1] + [changed(vectors[name][-1])], "operations": {}}
        expect_complaints(port, other, [f"{name} is not what the seed gives"])


def main(source):
    folder = source / "docs/golden"
    text = (folder / "vectors.json").read_text()
    vectors = json.loads(text)
    port = load_port(folder)
    check_page((source / "docs/guarantees.md").read_text(), text)
    for operation, lists in vectors["operations"].items():
        check_lists(operation, lists)
        if operation not in WITHOUT_COORDINATES:
            check_kinds(operation, lists)
    check_ordinary(port, vectors)
    check_changes(port, vectors)


if __name__ == "__main__":
    try:
        main(pathlib.Path(sys.argv[1]))
    except Wrong as wrong:
        sys.exit(f"golden.py: {wrong}")
