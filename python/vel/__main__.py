"""``python3 -m vel info FILE``: a short summary of a database file."""

import argparse
import sys

from . import VelError, open as open_file, signature


def _describe_drawer(drawer):
    d = drawer.description
    text = f"      drawer {drawer.number}: {d['serialization']} {d['shape']}"
    if d["chunks"]:
        text += f", chunks {d['chunks']}"
    if d["serialization"] != "standard":
        text += f", {d['nonzeros']} nonzeros"
    return text


def _bulk_lines(f):
    lines = []
    collections = f.collections
    lines.append(f"  collections: {len(collections)}")
    for c in collections:
        lines.append(f"    {c.id}: {c.size} members, {len(c.csets)} CSets")
    distributions = f.distributions
    lines.append(f"  distributions: {len(distributions)}")
    for d in distributions:
        grid = " x ".join(str(c.size) for c in d.grid) or "(no grid)"
        drawers = d.drawers
        lines.append(f"    {d.id}: {d.range_type} over {grid}, {len(drawers)} drawers")
        lines.extend(_describe_drawer(dr) for dr in drawers[:3])
        if len(drawers) > 3:
            lines.append(f"      ... {len(drawers) - 3} more")
    lines.append(f"  DSets: {len(f.dsets)}")
    views = ", ".join(f"{form} level {level}" for form, level in f.views)
    lines.append(f"  views: {views or 'none'}")
    return lines


def _results_lines(f):
    times = f.times
    lines = [f"  results: {f.step_count} steps"]
    if len(times):
        lines[0] += f", times {times[0]:g} .. {times[-1]:g}"
    lines.append(f"    nodes: {len(f.coordinates)}")
    for name, block in f.element_blocks.items():
        lines.append(f"    element block {name}: {len(block['connectivity'])} {block['cell_type']}")
    for name in f.node_sets:
        lines.append(f"    node set {name}: {len(f.node_sets[name])} nodes")
    for name in f.element_sets:
        block, ids = f.element_sets[name]
        lines.append(f"    element set {name}: {len(ids)} elements of {block}")
    for name, field in f.fields.items():
        where = "nodal" if field.location == "node" else f"element ({field.block})"
        units = f" [{field.units}]" if field.units else ""
        lines.append(f"    field {name}: {where}, components {', '.join(field.components)}{units}")
    return lines


def info(path) -> str:
    sig = signature(path)
    if not sig["is_vel"]:
        raise VelError(f'"{path}" is not a Vel database')
    major, minor, update = sig["version"]
    lines = [
        f"{path}: Vel database, version {major}.{minor}.{update}, file format "
        f"{sig['file_format']}, schema {sig['schema_version']}"
    ]
    with open_file(path) as f:
        lines.extend(_bulk_lines(f))
        if f.has_results:
            lines.extend(_results_lines(f))
    return "\n".join(lines)


def main(argv=None) -> int:
    parser = argparse.ArgumentParser(prog="python3 -m vel")
    commands = parser.add_subparsers(dest="command", required=True)
    show = commands.add_parser("info", help="print a short summary of a database file")
    show.add_argument("file")
    args = parser.parse_args(argv)
    try:
        print(info(args.file))
    except (VelError, OSError) as error:
        print(f"vel: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
