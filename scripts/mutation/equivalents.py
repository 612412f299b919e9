"""The list of mutants that no test can distinguish from the original, with reasons."""

import pathlib
import re

LIST = pathlib.Path(__file__).with_name("equivalents.txt")


def written(key):
    file, original, mutated, number = key
    return f"{file}:\n- {original}\n+ {mutated}{f' [{number}]' if number > 1 else ''}"


def read_list(text):
    """The reasons by mutant. Raises a ValueError with the number of the line for bad syntax."""
    reasons, file, original, waiting = {}, None, None, []
    for number, line in enumerate(text.splitlines(), 1):
        kind, rest = line[:2], line[2:].strip()
        if not line.strip() or line.startswith("#"):
            continue
        if kind == "- " and file:
            original = rest
        elif kind == "+ " and original:
            counted = re.fullmatch(r"(.*) \[(\d+)\]", rest)
            waiting.append((file, original, counted[1] if counted else rest, int(counted[2]) if counted else 1))
        elif kind == "= " and waiting:
            reasons.update((key, rest) for key in waiting)
            waiting = []
        elif line.endswith(":") and kind[0] not in "-+=" and not waiting:
            file, original = line[:-1], None
        else:
            raise ValueError(f"line {number}: expected 'file:', then '- ', '+ ' and '= ' in this order")
    if waiting:
        raise ValueError("the last mutants have no reason")
    return reasons
