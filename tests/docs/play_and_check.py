#!/usr/bin/env python3
"""Plays a script on the bench host, in a home of its own, and checks the traffic that it recorded.

    play_and_check.py --host HOST --check CHECK_TRAFFIC --play SCRIPT [--screen] [ARGUMENT OF THE CHECK...] --
                      ARGUMENT OF THE HOST...

With --screen it plays on an X screen of its own with a window manager, which scripts with a real pointer need.
"""

import argparse
import contextlib
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path


@contextlib.contextmanager
def running(*command, **options):
    """A program that ends with the block."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        process.terminate()
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


@contextlib.contextmanager
def real_screen():
    """An X screen with a window manager that has taken it; gives the environment for programs that go on it."""
    reading, writing = os.pipe()
    with running("Xvfb", "-displayfd", str(writing), "-screen", "0", "1920x1200x24", "-nolisten", "tcp", "-noreset",
                 pass_fds=[writing]):
        os.close(writing)
        with os.fdopen(reading, encoding="ascii") as number:
            environment = {**os.environ, "DISPLAY": ":" + number.readline().strip(), "QT_QPA_PLATFORM": "xcb"}
        with running("openbox", "--sm-disable", env=environment):
            for _ in range(200):
                if subprocess.run(["xdotool", "get_desktop"], env=environment, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL, check=False).returncode == 0:
                    break
                time.sleep(0.1)
            else:
                sys.exit("the window manager does not take the screen")
            yield environment


def main():
    arguments = sys.argv[1:]
    split = arguments.index("--") if "--" in arguments else len(arguments)
    parser = argparse.ArgumentParser()
    parser.add_argument("--host", required=True)
    parser.add_argument("--check", required=True)
    parser.add_argument("--play", required=True)
    parser.add_argument("--screen", action="store_true")
    options, for_check = parser.parse_known_args(arguments[:split])
    screen = real_screen() if options.screen else contextlib.nullcontext(dict(os.environ))
    with tempfile.TemporaryDirectory(prefix="lapvane-docs-") as folder, screen as environment:
        home = Path(folder) / "home"
        traffic = Path(folder) / "traffic.jsonl"
        played = subprocess.run([options.host, "--home", home, "--out", folder, "--record", traffic,
                                 "--client-port", "0", "--play", options.play, *arguments[split + 1:]],
                                env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if played.returncode != 0:
            # Only how it ended: the steps before are many.
            print(played.stdout.decode("utf-8", "replace")[-3000:], file=sys.stderr)
            print(f"the bench host has ended with {played.returncode}", file=sys.stderr)
            return 1
        return subprocess.run([sys.executable, options.check, *for_check, traffic], check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
