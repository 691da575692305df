#!/usr/bin/env python3
"""Takes the examples of desk.asyncapi.yaml and of the pages beside it from recorded traffic.

    docs/api/examples.py TRAFFIC.jsonl...

The document gets for each message that occurs the recorded payload with the most keys; of long lists the first entry
stays, of long texts the beginning. On the pages, the block of code behind `<!-- example: MESSAGE -->` is replaced by the
document's example. The recording comes from the bench host:

    lapvane-bench-host --home /tmp/track --demo --speed 60 --play docs/api/messages.play --record /tmp/messages.jsonl
"""

import json
import re
import sys

import yaml

from check_traffic import HERE, Document, check_line

WIDTH = 116
LONGEST_TEXT = 100
PAGES = ("host-events.md", "client-requests.md")


def cut(value):
    """A payload as it stands in an example."""
    if isinstance(value, list):
        short = [cut(item) for item in value]
        return short[:1] if short and isinstance(short[0], (dict, list)) else short
    if isinstance(value, dict):
        keys = list(value)
        if keys and all(re.fullmatch(r"-\d+", key) for key in keys):
            keys = keys[:1]
        return {key: cut(value[key]) for key in keys}
    if isinstance(value, str) and len(value) > LONGEST_TEXT:
        return value[:LONGEST_TEXT // 2] + "…"
    return value


def paths(value, path=""):
    """Every place of a payload that holds something, entries of lists counted once."""
    children = value.items() if isinstance(value, dict) else [("*", item) for item in value]
    for key, child in children:
        if isinstance(child, (dict, list)):
            yield from paths(child, f"{path}/{key}")
        if child not in ("", [], {}, None):
            yield f"{path}/{key}"


def wrapped(value, indent):
    """JSON that fits the page; what does not fit a line is broken at its members."""
    line = json.dumps(value, ensure_ascii=False)
    if len(line) + indent <= WIDTH or not isinstance(value, (dict, list)) or not value:
        return line
    inner = " " * (indent + 2)
    if isinstance(value, list):
        members = [wrapped(item, indent + 2) for item in value]
    else:
        members = [f"{json.dumps(key)}: {wrapped(item, indent + len(key) + 6)}" if not isinstance(item, (dict, list))
                   else f"{json.dumps(key)}: {wrapped(item, indent + 2)}" for key, item in value.items()]
    lines = []
    for member in members:
        if lines and "\n" not in member and "\n" not in lines[-1] and len(inner + lines[-1] + ", " + member) < WIDTH:
            lines[-1] += f", {member}"
        else:
            lines.append(member)
    opening, closing = ("[", "]") if isinstance(value, list) else ("{", "}")
    return opening + "\n" + ",\n".join(inner + item for item in lines) + "\n" + " " * indent + closing


def recorded(document, files):
    """The best recorded payload of every message that occurs."""
    best = {}
    for file in files:
        with open(file, encoding="utf-8") as recording:
            for line in recording:
                key, errors = check_line(document, line)
                if not key or errors:
                    continue
                payload = cut(json.loads(line)["data"])
                rank = (-len(set(paths(payload))), len(json.dumps(payload)))
                if key not in best or rank < best[key][0]:
                    best[key] = (rank, payload)
    return {key: payload for key, (rank, payload) in best.items()}


def with_examples(content, examples):
    """The document with these examples in the place of those that stand there."""
    parts = re.split(r"^    (\w+):\n", content.partition("\n  messages:\n")[2].partition("\n  schemas:\n")[0],
                     flags=re.MULTILINE)
    body = parts[0]
    for key, message in zip(parts[1::2], parts[2::2]):
        tail = re.search(r"\n+( *#[^\n]*)?\n*$", message)
        message, tail = (message[:tail.start()], message[tail.start():]) if tail else (message, "")
        if key in examples:
            message = message.partition("\n      examples:\n")[0]
            message += "\n      examples:\n        - payload: " + wrapped(examples[key], 10)
        body += f"    {key}:\n{message}{tail}"
    head, _, rest = content.partition("\n  messages:\n")
    return head + "\n  messages:\n" + body + "\n  schemas:\n" + rest.partition("\n  schemas:\n")[2]


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    file = HERE / "desk.asyncapi.yaml"
    content = file.read_text(encoding="utf-8")
    content = with_examples(content, recorded(Document(yaml.safe_load(content)), sys.argv[1:]))
    examples = {message.key: message.examples[0] for message in Document(yaml.safe_load(content)).all()
                if message.examples}
    file.write_text(content, encoding="utf-8")
    for name in PAGES:
        page = HERE.parent / name
        if page.exists():
            block = r"(<!-- example: (\w+) -->\n)```json\n.*?```"
            page.write_text(re.sub(block, lambda found: found.group(1) + "```json\n"
                                   + wrapped(examples.get(found.group(2), {}), 0) + "\n```",
                                   page.read_text(encoding="utf-8"), flags=re.DOTALL), encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
