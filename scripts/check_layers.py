#!/usr/bin/env python3
"""Fails when the subsystem folders of src/ include each other in a cycle.

Each folder of src/ is one node; a quoted #include of another folder's header
is an edge. Prints every cycle found with the files that close it, and with
--graph the whole folder graph in an order in which every folder comes after
the folders it includes.
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"/]+)/[^"]+"')


def folder_graph(src):
    edges = {}
    for folder in sorted(os.listdir(src)):
        if not os.path.isdir(os.path.join(src, folder)):
            continue
        edges.setdefault(folder, {})
        for root, _, files in os.walk(os.path.join(src, folder)):
            for name in sorted(files):
                path = os.path.join(root, name)
                with open(path, errors="replace") as f:
                    for line in f:
                        m = INCLUDE.match(line)
                        if m and m.group(1) != folder and os.path.isdir(os.path.join(src, m.group(1))):
                            edges[folder].setdefault(m.group(1), path)
    return edges


def find_cycle(edges):
    """One cycle as a list of folders, or None (depth-first search)."""
    state, stack = {}, []

    def visit(node):
        state[node] = 1
        stack.append(node)
        for nxt in edges.get(node, {}):
            if state.get(nxt) == 1:
                return stack[stack.index(nxt):] + [nxt]
            if nxt not in state:
                found = visit(nxt)
                if found:
                    return found
        stack.pop()
        state[node] = 2
        return None

    for node in edges:
        if node not in state:
            found = visit(node)
            if found:
                return found
    return None


def layer_order(edges):
    order, placed = [], set()
    while len(placed) < len(edges):
        ready = [n for n in edges if n not in placed and set(edges[n]) <= placed]
        order.append(sorted(ready))
        placed.update(ready)
    return order


def main():
    src = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "src")
    edges = folder_graph(src)
    cycle = find_cycle(edges)
    if cycle:
        print("include cycle between folders of src/:", file=sys.stderr)
        for a, b in zip(cycle, cycle[1:]):
            print(f"  {a} -> {b}  ({os.path.relpath(edges[a][b], src)})", file=sys.stderr)
        return 1
    if "--graph" in sys.argv:
        for level, folders in enumerate(layer_order(edges)):
            for f in folders:
                print(f"{level} {f}: {' '.join(sorted(edges[f])) or '-'}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
