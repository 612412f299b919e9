"""The noise in plain Python: an example of a port, which compares itself with the golden vectors.

port.py [FILE]: recomputes every vector of FILE (vectors.json beside this program) and compares the bits. It prints the
first vector that differs for each operation, and then fails.

All of the noise is here, and nothing but the standard library is used. docs/guarantees.md describes the file.
"""

import ctypes
import json
import math
import pathlib
import random
import struct
import sys

NAN = float("nan")


def rounded(value):
    """The nearest float of 32 bits."""
    return ctypes.c_float(value).value


class Float(float):
    """A float of 32 bits. Python computes in double; for + - * / of floats, rounding that result to float is the same as
    rounding once, since a double has more than twice the digits."""

    def __new__(cls, value):
        return super().__new__(cls, rounded(value))

    def __add__(self, other):
        return Float(float(self) + float(other))

    def __sub__(self, other):
        return Float(float(self) - float(other))

    def __mul__(self, other):
        return Float(float(self) * float(other))

    def __truediv__(self, other):
        return Float(float(self) / float(other))

    def __neg__(self):
        return Float(-float(self))

    def __abs__(self):
        return Float(abs(float(self)))


def from_hex(text):
    return Float(struct.unpack(">f", bytes.fromhex(text))[0])


def to_hex(value):
    return "7fc00000" if math.isnan(value) else struct.pack(">f", value).hex()


def constant(text):
    """A float written in hexadecimal, as C has it."""
    return Float(float.fromhex(text))


# The lattice.


def truncated(x):
    """Toward zero; saturates, and not-a-number gives 0."""
    if math.isnan(x):
        return 0
    return int(max(-2.0**31, min(2.0**31 - 1, float(x))))


def split(x):
    """The cell, from 0 to 255, and the fraction within it."""
    whole = truncated(x)
    back = Float(whole)
    is_above = back > x
    return (whole - is_above) & 255, (x - back) + Float(is_above)


def linear(t):
    return t


def cubic(t):
    return (t * t) * (Float(3) - (t + t))


def quintic(t):
    return (t * (t * t)) * (t * (t * Float(6) + Float(-15)) + Float(10))


def linear_slope(t):
    return Float(1)


def cubic_slope(t):
    six = t * Float(6)
    return six - t * six


def quintic_slope(t):
    square = t * t
    thirty = square * Float(30)
    return thirty + thirty * (square - (t + t))


QUALITIES = {"Linear": (linear, linear_slope), "Cubic": (cubic, cubic_slope), "Quintic": (quintic, quintic_slope)}


def lerp(a, b, t):
    return a + (b - a) * t


def blend(values, weights):
    """Along the first axis first, whose lower and upper sides are the two halves of the values."""
    for t in weights:
        half = len(values) // 2
        values = [lerp(values[k], values[k + half], t) for k in range(half)]
    return values[0]


class Field:
    def __init__(self, permutation, basis):
        self.permutation = permutation
        self.basis = basis

    def corners(self, cell):
        """The values at the corners of a cell, the upper side of the last axis after the lower, and so on to the first."""
        hashes = [cell[0]]
        for coordinate in cell[1:]:
            hashes = [self.permutation[(h + side) & 255] + coordinate for h in hashes for side in (0, 1)]
        ends = [(h + side) & 255 for h in hashes for side in (0, 1)]
        if len(cell) < 3:  # in 1D and 2D the ends go through the permutation once more
            ends = [self.permutation[end] for end in ends]
        return [self.basis[end] for end in ends]

    def sample(self, fade, position):
        cell, fractions = zip(*map(split, position))
        return [blend(self.corners(cell), map(fade, fractions))]

    def coherent_sample(self, fade, positions):
        """Four positions, in the cell of the first."""
        first = positions[:3]
        cell, fractions = zip(*map(split, first))
        corners = self.corners(cell)
        samples = [blend(corners, map(fade, fractions))]
        for k in (3, 6, 9):
            moved = [(x - x0) + f for x, x0, f in zip(positions[k:], first, fractions)]
            samples.append(blend(corners, map(fade, moved)))
        return samples

    def gradient(self, quality, cell, fractions, is_batch):
        """The single form and the batch form add the same terms in another order."""
        fade, slope = quality
        c000, c001, c010, c011, c100, c101, c110, c111 = self.corners(cell)
        dx, dy, dz = c100 - c000, c010 - c000, c001 - c000
        exy = (c110 - c010) - (c100 - c000)
        eyz = (c011 - c001) - (c010 - c000)
        exz = (c101 - c100) - (c001 - c000)
        if is_batch:
            s = (c000 - c111) + ((c101 - c100) + ((c011 - c001) + (c110 - c010)))
        else:
            s = ((c000 - c111) + (c110 - c010)) + ((c011 - c001) + (c101 - c100))

        def sums(d, f1, e1, f2, e2):
            if is_batch:
                return (d + f1 * e1) + (f2 * e2 - f1 * (f2 * s))
            return ((d + f1 * e1) + f2 * e2) - (f2 * f1) * s

        x, y, z = fractions
        u, v, w = map(fade, fractions)
        return [slope(x) * sums(dx, v, exy, w, exz), slope(y) * sums(dy, w, eyz, u, exy),
                slope(z) * sums(dz, u, exz, v, eyz), Float(0)]


# The streams.

ARC_SINE = [float.fromhex(text) for text in (
    "0x1.0234902fa268ep-5", "-0x1.7f682dcc97466p-7", "0x1.2b084d97c85ddp-6", "0x1.336c9e66647e5p-7",
    "0x1.d54ed2648c723p-7", "0x1.1baccf1325caap-6", "0x1.6e97027cbd914p-6", "0x1.f1c69c91c988ep-6",
    "0x1.6db6dd0dde88ep-5", "0x1.3333333091739p-4", "0x1.5555555556cffp-3", "0x1p0")]
HALF_PI = float.fromhex("0x1.921fb54442d18p0")


def arc_sine(x):
    """In doubles, each operation rounded to double."""
    magnitude = abs(float(x))
    if magnitude < 2.0**-12:
        return x
    if not magnitude <= 1.0:
        return Float(NAN)
    is_steep = magnitude > 0.5
    square = (1.0 - magnitude) * 0.5 if is_steep else magnitude * magnitude
    root = math.sqrt(square) if is_steep else magnitude
    ratio = square * ARC_SINE[0] + ARC_SINE[1]
    for coefficient in ARC_SINE[2:]:
        ratio = ratio * square + coefficient
    arc = root * ratio
    return Float(math.copysign(HALF_PI - 2.0 * arc if is_steep else arc, x))


def reduce_near(radians):
    """An angle between -1/4 and 1/4 turn with the same sine, for angles below 2^14."""
    last_bit_is_one = constant("0x1.8p23")
    half_turns = (radians * constant("0x1.45f306p-2") + last_bit_is_one) - last_bit_is_one
    rest = (radians - half_turns * constant("0x1.92p1")) - half_turns * constant("0x1.fb5444p-11")
    return -rest if int(half_turns) % 2 == 1 else rest


TURNS_PER_RADIAN = 0x28BE60DB9391054A7F09D5F47D4D377036D8A5664F10E410  # 192 binary digits of 1 / (2 pi)


def reduce_far(radians):
    """The same for angles from 2^14 on. Turns are counted in units of 2^-64, without the whole ones."""
    if not math.isfinite(radians):
        return Float(NAN)
    bits = struct.unpack(">I", struct.pack(">f", abs(radians)))[0]
    significand, exponent = (bits & 0x7FFFFF) | 0x800000, bits >> 23
    turns_per_unit = (TURNS_PER_RADIAN >> (278 - exponent)) % 2**64
    turns = (significand * turns_per_unit % 2**64) >> 32
    from_top = (turns - 2**30 + 2**31) % 2**32 - 2**31  # the top of the wave is at 1/4 turn; as a signed integer
    angle = (constant("0x1p30") - abs(Float(from_top))) * constant("0x1.921fb6p-30")
    return -angle if radians < 0 else angle


def sine(radians):
    x = reduce_near(radians) if abs(radians) < 2.0**14 else reduce_far(radians)
    square = x * x
    inner = constant("0x1.110cb2p-7") + square * (constant("-0x1.9f2b9p-13") + square * constant("0x1.5acf94p-19"))
    return x * (constant("0x1.fffffcp-1") + square * (constant("-0x1.55553p-3") + square * inner))


# The field that turns, and the generator.

PI, TWO_PI = constant("0x1.921fb6p1"), constant("0x1.921fb6p2")


class RotatableField:
    def __init__(self, basis, phases, speeds):
        self.basis, self.phases, self.speeds = basis, phases, speeds
        self.variation, self.has_one_speed, self.time = Float(0.2), False, 0.0

    def set_spin_variation(self, variation):
        self.has_one_speed = variation < Float(1e-5)
        if self.has_one_speed:
            return
        old, new = self.variation * PI, variation * PI
        self.variation = variation
        ratio = new / old
        self.speeds = [(TWO_PI - new) + ratio * (speed - (TWO_PI - old)) for speed in self.speeds]

    def rotate_basis(self, time):
        if time == self.time:
            return
        self.time = time
        if self.has_one_speed:
            angles = [time * TWO_PI + phase for phase in self.phases]
        else:
            angles = [phase + time * speed for phase, speed in zip(self.phases, self.speeds)]
        self.basis = [sine(angle) for angle in angles]


def phases_of(basis):
    """The angles at time 0: every odd one on the falling half of its wave."""
    angles = [arc_sine(value) for value in basis]
    return [PI - angle if k % 2 == 1 else angle for k, angle in enumerate(angles)]


def random_floats(seed, least, most, count):
    """From the 32-bit Mersenne Twister (MT19937), seeded as its authors do by one number."""
    state = [seed]
    for k in range(1, 624):
        state.append((1812433253 * (state[-1] ^ (state[-1] >> 30)) + k) % 2**32)
    engine = random.Random()
    engine.setstate((3, (*state, 624), None))
    numbers = []
    for _ in range(count):
        u = Float(engine.getrandbits(32) >> 8) * Float(2.0**-24)
        value = least * (Float(1) - u) + most * u
        numbers.append(min(max(value, least), most))
    return numbers


# The vectors.


class Port:
    """Every operation by the name that the file has for it: from a vector's inputs to its results."""

    def __init__(self, vectors):
        self.basis, self.phases, self.speeds = (list(map(from_hex, vectors[name])) for name in ("basis", "phases", "speeds"))
        self.field = Field(vectors["permutation"], self.basis)
        self.operations = {"ArcSinStream": self.on_floats(lambda inputs: [arc_sine(inputs[0])]),
                           "SinStream": self.on_floats(lambda inputs: [sine(inputs[0])]),
                           "RotateBasis": self.rotate, "CStdRandomGenerator": self.draw}
        for name, quality in QUALITIES.items():
            self.add_quality(name, quality)

    def on_floats(self, operation):
        return lambda inputs, count: operation(list(map(from_hex, inputs)))

    def add_quality(self, name, quality):
        def add(operation_name, operation):
            self.operations[operation_name] = self.on_floats(operation)

        field, fade = self.field, quality[0]
        for dimension in "1234":
            add(f"Sample{name}{dimension}D", lambda inputs: field.sample(fade, inputs))
        add(f"Sample{name}", lambda inputs: field.sample(fade, inputs[:3]))
        add(f"CoherentSample{name}", lambda inputs: field.coherent_sample(fade, inputs))

        def gradient_at(inputs):
            cell, fractions = zip(*map(split, inputs[:3]))
            return field.gradient(quality, cell, fractions, False)

        def gradient_of_record(inputs):
            return field.gradient(quality, list(map(int, inputs[4:7])), inputs[:3], True)

        add(f"Sample1stOrderDerivatives{name}", gradient_at)
        add(f"Sample1stOrderDerivatives{name}Batch", gradient_of_record)

    def rotate(self, calls, count):
        field = RotatableField(self.basis, self.phases, self.speeds)
        for name, value in calls:
            {"SetSpinVariation": field.set_spin_variation, "RotateBasis": field.rotate_basis}[name](from_hex(value))
        return field.basis

    def draw(self, inputs, count):
        return random_floats(inputs[0], from_hex(inputs[1]), from_hex(inputs[2]), count)

    def results(self, operation, vector):
        return list(map(to_hex, self.operations[operation](vector["in"], len(vector["out"]))))


def drawn(vectors):
    """The field's own tables, drawn from its seed."""
    numbers = random_floats(vectors["seed"], Float(-1), Float(1), 256)
    half_width = Float(0.2) * PI
    speeds = random_floats(vectors["seed"], TWO_PI - half_width, half_width + TWO_PI, 512)[256:]
    return {"basis": numbers, "phases": phases_of(numbers), "speeds": speeds}


def first_difference(port, operation, vectors):
    for vector in vectors:
        found = port.results(operation, vector)
        if found != vector["out"]:
            return f"{operation} of {json.dumps(vector['in'])} is {json.dumps(found)}, not {json.dumps(vector['out'])}"
    return None


def differences(vectors, groups=("ordinary", "other")):
    port = Port(vectors)
    found = [f"{name} is not what the seed gives" for name, values in drawn(vectors).items()
             if list(map(to_hex, values)) != vectors[name]]
    for operation, lists in vectors["operations"].items():
        found.append(first_difference(port, operation, [vector for group in groups for vector in lists[group]]))
    return [difference for difference in found if difference]


def main(arguments):
    path = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).with_name("vectors.json")
    vectors = json.loads(path.read_text())
    found = differences(vectors)
    for difference in found:
        print(difference)
    operations = vectors["operations"].values()
    count = sum(len(lists["ordinary"]) + len(lists["other"]) for lists in operations)
    print(f"{len(operations)} operations, {count} vectors: {len(found) or 'no'} differences")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
