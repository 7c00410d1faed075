#!/usr/bin/python3
"""Checks the published schema of graph files: it takes the example graphs, and it refuses what the program refuses.

    check_graph_schema.py docs/graph.schema.json examples/graphs build/bin/vessa

Each graph of FORMS is given to the schema and to the program; both must think of it as FORMS says.
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

import jsonschema


def graph(node=None, *, inputs=None, outputs=None, **top):
    """A graph of one node that mirrors a picture, with these entries in place of its own."""
    return {
        "inputs": {"a": {}} if inputs is None else inputs,
        "nodes": {"n": {"node": "Flip", "inputs": ["a"], **(node or {})}},
        "outputs": {"o": "n"} if outputs is None else outputs,
        **top,
    }


RIGHT = [
    graph(),
    graph(description="text", **{"$schema": "anywhere"}),
    graph(inputs={"a": {"file": "a.png", "type": "IMAGE_GREY_8", "description": "text"}}),
    graph(outputs={"o": {"from": "n.0", "file": "{stem}.png", "description": "text"}}),
    graph({"description": "text", "parameters": {"flip_x": True}}),
    graph({"parameters": {}, "set": {"a": 1, "b": 1.5, "c": "text", "d": [1, None, {"e": False}], "$$f": 1}}),
    graph({"set": {"a": {"$double": "nan"}, "b": [{"$double": "-inf"}], "$int:-5": 1, "$schema": "text"}}),
    {"nodes": {"n": {"node": "Extract", "inputs": ["A-1_b", None]}}, "inputs": {"A-1_b": {}}, "outputs": {"o": "n"}},
    {"nodes": {"1": {"node": "Flip", "inputs": ["2"]}}, "inputs": {"2": {}}, "outputs": {"3": "1"}},
]

WRONG = [
    [],
    {},
    {"nodes": {}, "outputs": {}},
    graph(nodes={}),
    graph(outputs={}),
    {**graph(), "node": {}},
    graph(description=3),
    graph(**{"$schema": 3}),
    graph(nodes=[]),
    graph(inputs=[]),
    graph(outputs=["n"]),
    graph(inputs={"a": "a.png"}),
    graph(inputs={"a": {"fil": "a.png"}}),
    graph(inputs={"a": {"file": 3}}),
    graph(inputs={"a": {"file": None}}),
    graph(inputs={"a": {"description": 3}}),
    graph(inputs={"a": {"type": "IMAGE_GREY"}}),
    graph(inputs={"a": {"type": "image_grey_8"}}),
    graph(inputs={"a": {}, "b.c": {}}),
    graph(inputs={"a": {}, "": {}}),
    graph(inputs={"a": {}, "b c": {}}),
    graph(inputs={"a": {}, "\u00e4": {}}),
    graph(inputs={"a": {}, "$int:5": {}}),
    graph(nodes={"n": {"inputs": ["a"]}}),
    graph(nodes={"n": "Flip"}),
    graph(nodes={"$int:5": {"node": "Flip", "inputs": ["a"]}}, outputs={"o": "5"}),
    graph({"node": 3}),
    graph({"input": ["a"]}),
    graph({"description": ["text"]}),
    graph({"inputs": "a"}),
    graph({"inputs": {"0": "a"}}),
    graph({"inputs": [3]}),
    graph({"inputs": ["a."]}),
    graph({"inputs": ["a.x"]}),
    graph({"inputs": ["a.-1"]}),
    graph({"inputs": [""]}),
    graph({"parameters": ["flip_x"]}),
    graph({"parameters": {"flip_x": None}}),
    graph({"set": 3}),
    graph({"set": {"a/b": 1}}),
    graph({"set": {"$a": 1}}),
    graph({"set": {"a": None}}),
    graph({"set": {"a": {"b": None}}}),
    graph({"set": {"a": {"$double": "none"}}}),
    graph({"set": {"a": {"$double": "nan", "b": 1}}}),
    graph({"set": {"$int:x": 1}}),
    graph({"set": {"$int:05": 1}}),
    graph(outputs={"o": 3}),
    graph(outputs={"o": {}}),
    graph(outputs={"o": {"form": "n"}}),
    graph(outputs={"o": {"from": 3}}),
    graph(outputs={"o": {"from": "n", "file": []}}),
    graph(outputs={"o": {"from": "n", "description": 1}}),
    graph(outputs={"o p": "n"}),
    graph(outputs={"$int:5": "n"}),
]

FORMS = [(form, True) for form in RIGHT] + [(form, False) for form in WRONG]


def program_takes(program, form, folder):
    """Whether the program reads a graph; anything but 0, 1 and 2 with one line is a failure of its own."""
    file = Path(folder) / "graph.json"
    file.write_text(json.dumps(form))
    run = subprocess.run([program, "pipeline", file, "--dot"], capture_output=True, text=True, timeout=60)
    if run.returncode not in (0, 1, 2) or (run.returncode != 0 and run.stderr.count("\n") != 1):
        sys.exit(f"{form}: status {run.returncode}, {run.stderr!r}")
    return run.returncode == 0


def main():
    schema_file, examples, program = sys.argv[1:]
    schema = json.loads(Path(schema_file).read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    wrong = []

    files = sorted(Path(examples).glob("*.json"))
    for file in files:
        for error in validator.iter_errors(json.loads(file.read_text())):
            wrong.append(f"{file}: {error.json_path}: {error.message}")
        if (file.parent / json.loads(file.read_text())["$schema"]).resolve() != Path(schema_file).resolve():
            wrong.append(f"{file}: $schema names another file")
    with tempfile.TemporaryDirectory() as folder:
        for form, is_right in FORMS:
            for name, takes in (("schema", validator.is_valid(form)), ("program", program_takes(program, form, folder))):
                if takes != is_right:
                    wrong.append(f"the {name} {'takes' if takes else 'refuses'} {json.dumps(form)}")
    if not files:
        wrong.append(f"{examples}: no graphs")
    sys.exit("\n".join(wrong) or None)


if __name__ == "__main__":
    main()
