#!/usr/bin/env python3
"""Writes scene.kds, the plan of a public park, to the standard output:   make_scene.py > scene.kds

The park is the same each time: all chance comes from one generator with a fixed seed.
"""

import math
import random
import sys

WIDTH, HEIGHT = 160.0, 100.0
SEED = 20250320

MATERIALS = {
    "asphalt": ((96, 96, 100), "#", False, 42.0),
    "bark": ((139, 101, 72), "%", True, 9.5),
    "gravel": ((201, 190, 168), ":", True, 18.5),
    "lawn": ((124, 170, 96), "'", True, 3.25),
    "oak": ((160, 126, 84), "=", False, 120.0),
    "water": ((92, 150, 205), "~", False, 0.0),
}

# species, hardiness, spacing, flowers
PLANTS = {
    "aster": ("Aster amellus", -25, 40, "[SUMMER, AUTUMN]"),
    "beech": ("Fagus sylvatica", -28, 900, "[SPRING, SPRING]"),
    "birch": ("Betula pendula", -40, 600, "[SPRING, SPRING]"),
    "hazel": ("Corylus avellana", -30, 300, "[WINTER, SPRING]"),
    "iris": ("Iris pseudacorus", -30, 35, "[SPRING, SUMMER]"),
    "lavender": ("Lavandula angustifolia", -18, 40, "[SUMMER, SUMMER]"),
    "lime": ("Tilia cordata", -35, 800, "[SUMMER, SUMMER]"),
    "maple": ("Acer palmatum", -20, 400, "[SPRING, SPRING]"),
    "oak": ("Quercus robur", -30, 1200, "[SPRING, SPRING]"),
    "rose": ("Rosa rugosa", -35, 90, "[SUMMER, AUTUMN]"),
    "snowdrop": ("Galanthus nivalis", -28, 8, "[WINTER, SPRING]"),
    "tulip": ("Tulipa gesneriana", -25, 12, "[SPRING, SPRING]"),
}

HEADER = """\
// The plan of a public park. Written by make_scene.py: change that, not this.
garden.Plan {
    title = "Riverside Park"
    revision = 41
    parcel = 18446744073709551557
    owner = people.Person {
        name = "Department of Parks"
        born = 1902
        home = ("Castle Square", 1, "Oakham")
        contacts = ["office" -> email "parks@oakham.example"]
    }
    gardener = people.Person { name = "Yuki Tanaka" nativeName = "\u7530\u4e2d \u3086\u304d" middleInitial = 'K' born = 1991 }
    margins = [2, 2, 2, 4.5]
    layers = [
        Layer { name = "Surfaces" levels = [GROUND] },
        Layer { name = "Beds and benches" levels = [BED] opacity = 0.9 },
        Layer { name = "Shrubs" levels = [SHRUB] opacity = 0.75 },
        Layer { name = "Trees" levels = [CANOPY] opacity = 0.5 isVisible = false }
    ]
    zoom = 0.25"""

DIARY = """\
    diary = [
        2023 -> [AUTUMN -> ["Planted the birches by the river", "New gravel on the east path"]],
        2024 -> [SPRING -> ["40,000 tulips"], SUMMER -> ["Drought: watered the lime avenue"], WINTER -> []],
        2025 -> [SPRING -> ["Drained the lower pond and sealed it"]]
    ]
}"""

chance = random.Random(SEED)


def between(low, high):
    return low + (high - low) * chance.random()


def choose(items):
    return items[int(chance.random() * len(items))]


def number(x):
    return f"{x:.2f}".rstrip("0").rstrip(".")


def point(x, y):
    return f"({number(x)}, {number(y)})"


def shape(name, x, y, outline, level="GROUND", rotation=0.0, material="", plants=None, kind="Shape", more=""):
    members = [f'name = "{name}"']
    if level != "GROUND":
        members.append(f"level = {level}")
    members += [f"position = {point(x, y)}", f"outline = {outline}"]
    if rotation:
        members.append(f"rotation = {number(rotation)}")
    if material:
        members.append(f'material = "{material}"')
    if plants:
        members.append("plants = [" + ", ".join(f'"{plant}" -> {count}' for plant, count in plants.items()) + "]")
    if more:
        members.append(more)
    return f"garden.{kind} {{ {' '.join(members)} }}"


def river_path(x):
    """Where the path along the river runs."""
    return 22 + 8 * math.sin(x / 25)


def surfaces():
    river = [point(x, river_path(x) - 8) for x in range(0, 161, 10)]
    yield shape("River", 0, 0, f"polygon [{', '.join(river)}, (160, 0), (0, 0)]", material="water")
    corners = ", ".join(point(x, river_path(x)) for x in range(0, 161, 10))
    back = ", ".join(point(x, river_path(x) + 2.5) for x in range(160, -1, -10))
    yield shape("River path", 0, 0, f"polygon [{corners}, {back}]", material="gravel")
    yield shape("Main avenue", 80, 62, f"Rectangle({number(WIDTH)}, 5)", material="asphalt")
    yield shape("East path", 118, 45, "Rectangle(36, 2.5)", rotation=78.5, material="gravel")
    for i, x in enumerate((24, 66, 104, 144), 1):
        yield shape(f"Lawn {i}", x, 48, f"Rectangle({number(between(20, 32))}, 14)", material="lawn")


def ponds():
    yield shape("Upper pond", 40, 82, "Circle(9.5)", material="water", plants={"iris": 60}, kind="Pond",
                more="depth = 1.8 hasFish = true")
    yield shape("Lower pond", 126, 80, "polygon [(-8, -4), (6, -6), (9, 3), (0, 7), (-7, 4)]", material="water",
                kind="Pond", more="depth = 0.9")


def avenue():
    for i in range(36):
        x, y = 2.5 + (i // 2) * 9.1, 57.5 if i % 2 == 0 else 66.5
        yield shape(f"Avenue lime {i + 1}", x, y, f"Circle({number(between(2.5, 3.5))})", "CANOPY", material="bark",
                    plants={"lime": 1})


def benches():
    for i in range(24):
        x = 5 + i * 6.5
        slope = math.degrees(math.atan(8 / 25 * math.cos(x / 25)))
        yield shape(f"Bench {i + 1}", x, river_path(x) + 3.5, "Rectangle(1.8, 0.6)", "BED", slope, "oak")


def beds():
    flowers = ["aster", "lavender", "rose", "snowdrop", "tulip"]
    for i in range(60):
        x, y = 4 + (i % 30) * 5.2, 54.5 if i < 30 else 69.5
        first, second = choose(flowers), choose(flowers)
        plants = {first: int(between(8, 40)), second: int(between(5, 60))}
        yield shape(f"Bed {i + 1}", x, y, f"Rectangle({number(between(2, 4.5))}, 1.2)", "BED",
                    material="bark", plants=plants)


def grove(plants, level, count, radius, area):
    """Plants that keep their distance from each other."""
    left, top, right, bottom = area
    placed = []
    while len(placed) < count:
        x, y, r = between(left, right), between(top, bottom), between(*radius)
        if all(math.hypot(x - px, y - py) > r + pr for px, py, pr in placed):
            placed.append((x, y, r))
            plant = choose(plants)
            yield shape(f"{plant.capitalize()} {len(placed)}", x, y, f"Circle({number(r)})", level,
                        plants={plant: 1})


def shapes():
    yield from surfaces()
    yield from ponds()
    yield from avenue()
    yield from benches()
    yield from beds()
    yield from grove(["oak", "beech", "maple"], "CANOPY", 90, (1.5, 4.0), (4, 72, WIDTH - 4, HEIGHT - 3))
    yield from grove(["birch"], "CANOPY", 40, (0.8, 1.6), (2, 33, WIDTH - 2, 40))
    yield from grove(["hazel", "rose"], "SHRUB", 70, (0.5, 1.2), (2, 40, WIDTH - 2, 53))


def entries(texts, separator=","):
    return (separator + "\n").join("        " + text for text in texts)


def main():
    sys.stdout.reconfigure(encoding="utf-8")
    print(HEADER)
    print("    materials = [")
    print(entries(f'"{name}" -> {{ colour = {colour} symbol = {symbol} isPermeable = {str(permeable).lower()} '
                  f"price = {price} }}"
                  for name, (colour, sign, permeable, price) in MATERIALS.items()
                  for symbol in ["'\\''" if sign == "'" else f"'{sign}'"]))
    print("    ]\n    plants = [")
    print(entries(f'"{name}" -> Plant("{species}", {hardiness}, {spacing}, {flowers})'
                  for name, (species, hardiness, spacing, flowers) in PLANTS.items()))
    print("    ]\n    shapes = [")
    print(entries(shapes()))
    rain = [number(max(0.0, between(-6, 30))) for _ in range(52)]
    print("    ]\n    rainfall = [\n        " + ",\n        ".join(", ".join(rain[i:i + 13]) for i in range(0, 52, 13)))
    print("    ]\n" + DIARY)


if __name__ == "__main__":
    main()
