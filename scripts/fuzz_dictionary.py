#!/usr/bin/env python3
"""Writes the words that nodes, graphs and command lines are made of, as a dictionary for the fuzzers.

    scripts/fuzz_dictionary.py BUILD >DICTIONARY

The nodes, keys and allowed values come from the descriptions that the host program of the build folder gives, commands
and options from its help, and the keys of graphs from their schema.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

COMMANDS = ("list", "describe", "run", "pipeline", "doc")
CHAIN_WORDS = ("then", "none", "-", "true", "false")


def output(*arguments):
    return subprocess.run(arguments, check=True, capture_output=True, text=True).stdout


def words_of_node(program, name):
    """The node's name, its parameters' keys and the texts that they take."""
    description = json.loads(output(program, "describe", name, "--json"))
    words = {name}
    for parameter in description["parameters"]:
        words |= {parameter["key"], "--" + parameter["key"], *parameter.get("allowed", [])}
    return words


def keys_of_schema(schema):
    """The names of all properties, however deep."""
    if not isinstance(schema, dict):
        return set()
    keys = set(schema.get("properties", {}))
    return keys.union(*(keys_of_schema(part) for part in schema.values()))


def main():
    program = sys.argv[1] + "/bin/vessa"
    schema = Path(__file__).parent.parent / "docs/graph.schema.json"
    words = {*COMMANDS, *CHAIN_WORDS, *keys_of_schema(json.loads(schema.read_text()))}
    for command in COMMANDS:
        words |= set(re.findall(r"--[a-z][a-z-]+|IMAGE_\w+", output(program, command, "--help")))
    for module in json.loads(output(program, "list", "--json")):
        for node in module["nodes"]:
            words |= words_of_node(program, node["name"])
    for word in sorted(words):
        print('"' + word.replace("\\", "\\\\").replace('"', '\\"') + '"')


main()
