#!/usr/bin/python3
"""Measures whole processes: the host program beside the shell tools that its users would take instead.

    bench/processes.py build [ROUNDS]

Those that do like work take turns, round after round, and their medians are compared: the time on the clock, with all
reading and writing, and the largest memory. Tools that aren't installed are left out. Writes a table of Markdown.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
ONE_THREAD = {"VIPS_CONCURRENCY": "1", "OMP_NUM_THREADS": "1", "OPENCV_FOR_THREADS_NUM": "1"}
FILES = 500
HALVE = """{"inputs": {"picture": {}},
 "nodes": {"half": {"node": "Resize", "inputs": ["picture"], "parameters": {"scale_x": 0.5, "scale_y": 0.5}}},
 "outputs": {"half": "half"}}"""


def run_once(command):
    """The seconds and the MiB of memory that a command takes."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, env={**os.environ, **ONE_THREAD})
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command} ends with status {process.returncode}")
    return seconds, usage.ru_maxrss / 1024


def measure(work, contestants, rounds):
    """Writes a line for each of the commands of the work; the first one is what the others are compared with."""
    found = {name: command for name, command in contestants.items() if command is not None}
    results = {name: [] for name in found}
    for round_number in range(rounds + 1):
        for name, command in found.items():
            result = run_once(command)
            if round_number > 0:  # the first round fills the system's caches
                results[name].append(result)
    medians = {name: [statistics.median(values) for values in zip(*list_)] for name, list_ in results.items()}
    first = next(iter(medians.values()))[0]
    for name, (seconds, memory) in medians.items():
        print(f"| {work} | {name} | {seconds * 1e3:.1f} | {memory:.0f} | {first / seconds:.2f} |", flush=True)


def tool(name, *arguments):
    """A command of a tool that may be there."""
    return [name, *map(str, arguments)] if shutil.which(name) else None


def opencv(code, *files):
    """A command that runs OpenCV from Python, if that is there."""
    python = "/usr/bin/python3"
    if subprocess.run([python, "-c", "import cv2"], capture_output=True, check=False).returncode != 0:
        return None
    return [python, "-c", "import sys, cv2\n" + code, *map(str, files)]


def make_samples(vessa, folder):
    """Pictures of 4096 x 4096 elements, and a folder of files with a million each."""
    samples = PROJECT / "samples"
    for name, sample in ("bytes.tif", "particles.png"), ("floats.tif", "labels.tif"):
        subprocess.run([vessa, "run", "Replicate", "-i", samples / sample, "--along", "X", "--count", "12", "then",
                        "Replicate", "--along", "Y", "--count", "16", "then", "Extract", "--size_x", "4096", "--size_y",
                        "4096", "-o", folder / name], check=True)
    many = folder / "many"
    many.mkdir()
    subprocess.run([vessa, "run", "Extract", "-i", folder / "bytes.tif", "--size_x", "1000", "--size_y", "1000", "-o",
                    many / "0.tif"], check=True)
    for number in range(1, FILES):
        shutil.copy(many / "0.tif", many / f"{number}.tif")
    (folder / "halve.json").write_text(HALVE)
    (folder / "out").mkdir()


def main():
    vessa = Path(sys.argv[1]).resolve() / "bin/vessa"
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 11
    print("| work | program | ms | MiB | speed of the first |\n|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        make_samples(vessa, folder)
        for kind in "bytes", "floats":
            source, target = folder / f"{kind}.tif", folder / "out/flipped.tif"
            measure(f"flip 4096 x 4096 {kind}, TIFF", {
                "vessa": [vessa, "run", "Flip", "-i", source, "--flip_x", "-o", target],
                "vips": tool("vips", "flip", source, target, "horizontal"),
                "OpenCV, Python": opencv("cv2.imwrite(sys.argv[2], cv2.flip(cv2.imread(sys.argv[1], -1), 1))",
                                         source, target),
                "cp": tool("cp", source, target),
            }, rounds)
        measure("start", {"vessa list": [vessa, "list"], "vips": tool("vips", "--version")}, rounds)
        batch = [vessa, "pipeline", folder / "halve.json", "-i", f"picture={folder}/many", "-o",
                 f"half={folder}/out/{{stem}}.tif", "--jobs"]
        measure(f"halve {FILES} files of 1000 x 1000, TIFF", {
            "vessa --jobs 2": [*batch, "2"],
            "vessa --jobs 1": [*batch, "1"],
            "vipsthumbnail": tool("vipsthumbnail", *(folder / "many").iterdir(), "--size", "500x500", "-o",
                                  folder / "out/%s.tif"),
        }, max(3, rounds // 3))


if __name__ == "__main__":
    main()
