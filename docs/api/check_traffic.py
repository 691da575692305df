#!/usr/bin/env python3
"""Checks recorded traffic of the desk against desk.asyncapi.yaml, and the document against itself and the sources.

    docs/api/check_traffic.py                       the document alone, with its examples
    docs/api/check_traffic.py TRAFFIC.jsonl...      recordings as well, as the bench host's --record writes them

A recording is a file of lines, each a JSON object with "direction" (toDesk or fromDesk), "module", "event" and "data".
The tests of the library write such files as well, into the folder that LAPVANE_RECORD_TRAFFIC names; what they send to
the desk, and write into its journals, is often wrong on purpose. Every line has to be a message of the document. Exit codes: 0 all is well, 1 something is wrong, 2 the command line is
wrong or a file cannot be read.
"""

import argparse
import json
import re
import sys
from collections import Counter
from pathlib import Path

import yaml
from jsonschema import Draft7Validator
from jsonschema.exceptions import SchemaError, best_match

HERE = Path(__file__).resolve().parent
DIRECTIONS = {"publish": "toDesk", "subscribe": "fromDesk"}
REQUEST_EVENTS = ("local_request", "remote_control_data")
MODULE = "ticket_plugin"


class Message:
    """One message of the document: where it goes, when it is meant, what it holds."""

    def __init__(self, key, event, direction, body):
        self.key = key
        self.event = event
        self.direction = direction
        self.name = body.get("name")
        self.module = body.get("x-module", MODULE)
        self.examples = [example.get("payload") for example in body.get("examples", [])]
        self.schema = body.get("payload", {})
        self.validator = Draft7Validator(self.schema)
        self.when = Draft7Validator(body["x-when"]) if "x-when" in body else None
        self.request = self.schema.get("properties", {}).get("request", {}).get("const") if self.is_request() else None

    def is_request(self):
        return self.direction == "toDesk" and self.event in REQUEST_EVENTS

    def is_conditional(self):
        return self.when is not None or self.request is not None

    def applies(self, data):
        if self.request is not None:
            return isinstance(data, dict) and data.get("request") == self.request
        return self.when is None or self.when.is_valid(data)

    def errors(self, data):
        """What is wrong with a payload, a text each."""
        return sorted({text(error) for error in self.validator.iter_errors(data)})


class Document:
    """desk.asyncapi.yaml, read and with its references resolved."""

    def __init__(self, content):
        self.problems = []
        self.content = content if isinstance(content, dict) else {}
        self.messages = {}
        self._resolved = {}
        self._read_channels()

    def _problem(self, message):
        self.problems.append(message)

    def _target(self, reference):
        node = self.content
        for step in reference[2:].split("/"):
            node = node[step]
        return node

    def _resolve(self, node, trail=()):
        """The node with every reference replaced by what it names."""
        if isinstance(node, list):
            return [self._resolve(item, trail) for item in node]
        if not isinstance(node, dict):
            return node
        reference = node.get("$ref")
        if not isinstance(reference, str):
            return {key: value if key == "examples" else self._resolve(value, trail) for key, value in node.items()}
        if reference in self._resolved:
            return self._resolved[reference]
        if reference in trail:
            self._problem(f"{reference} refers to itself")
            return {}
        try:
            target = self._target(reference) if reference.startswith("#/") else None
        except (KeyError, TypeError):
            target = None
        if target is None:
            self._problem(f"reference {reference} leads nowhere")
            return {}
        self._resolved[reference] = self._resolve(target, trail + (reference,))
        return self._resolved[reference]

    def _read_channels(self):
        bodies = self.content.get("components", {}).get("messages", {})
        for schema in self.content.get("components", {}).get("schemas", {}).values():
            self._resolve(schema)
        used = set()
        for event, channel in self.content.get("channels", {}).items():
            for operation, direction in DIRECTIONS.items():
                if operation not in channel:
                    continue
                message = channel[operation].get("message", {})
                for reference in message.get("oneOf", [message]):
                    key = str(reference.get("$ref", "")).rpartition("/")[2]
                    used.add(key)
                    self._add_message(key, event, direction, self._resolve(reference))
        for key in bodies.keys() - used:
            self._problem(f"message {key} belongs to no channel")

    def _add_message(self, key, event, direction, body):
        try:
            Draft7Validator.check_schema(body.get("payload", {}))
            Draft7Validator.check_schema(body.get("x-when", {}))
        except SchemaError as error:
            self._problem(f"message {key}: {text(error)}")
            return
        self.messages.setdefault((event, direction), []).append(Message(key, event, direction, body))

    def all(self):
        return [message for group in self.messages.values() for message in group]

    def find(self, event, direction, data):
        """The message that a payload is meant to be, or none."""
        return next((message for message in self.messages.get((event, direction), []) if message.applies(data)), None)

    def check(self):
        """Looks for what is wrong within the document; adds to the problems."""
        for (event, direction), group in self.messages.items():
            for message in group[:-1]:
                if not message.is_conditional():
                    self._problem(f"message {message.key} hides those of {event} that stand behind it")
            for message in group:
                self._check_message(message)

    def _check_message(self, message):
        if message.is_request():
            if message.request is None:
                self._problem(f"message {message.key} does not say which request it is")
            elif message.name != message.request:
                self._problem(f"message {message.key} is named {message.name}, its request is {message.request}")
        elif message.name != message.event:
            self._problem(f"message {message.key} is named {message.name}, its channel is {message.event}")
        if message.direction == "fromDesk":
            for path in open_objects(message.schema):
                self._problem(f"message {message.key}: {path or 'the payload'} does not say which keys it has")
        if not message.examples:
            self._problem(f"message {message.key} has no example")
        for example in message.examples:
            meant = self.find(message.event, message.direction, example)
            if meant is not message:
                self._problem(f"message {message.key}: its example is a {meant.key if meant else 'message of no kind'}")
            for error in message.errors(example):
                self._problem(f"message {message.key}, example: {error}")

    def check_sources(self, root):
        """Compares events and requests with those of the sources."""
        known = {operation: {event for event, direction in self.messages if direction == name}
                 for operation, name in DIRECTIONS.items()}
        header = root / "plugin" / "hostevents.h"
        sent, received = events_of(header.read_text(encoding="utf-8"))
        self._compare(f"event that the desk sends ({header.name})", sent, known["subscribe"])
        self._compare(f"event that the desk receives ({header.name})", received, known["publish"])
        for event, source, table in (
            ("local_request", "ticketpluginform_localrequests.cpp", "localRequestHandlers"),
            ("remote_control_data", "ticketpluginform_remotecontrol.cpp", "remoteRequestHandlers"),
        ):
            names = requests_of((root / "remote" / source).read_text(encoding="utf-8"), table)
            documented = [message.request for message in self.messages.get((event, "toDesk"), [])]
            self._compare(f"request of {event} ({source})", names, set(documented))
            if sorted(names) == sorted(documented) and names != documented:
                self._problem(f"requests of {event} stand in another order than in {source}")

    def _compare(self, what, in_source, in_document):
        if not in_source:
            self._problem(f"no {what} was found")
        for name in sorted(set(in_source) - in_document):
            self._problem(f"{what} without a message: {name}")
        for name in sorted(in_document - set(in_source)):
            self._problem(f"no {what}: {name}")

    def check_pages(self, folder):
        """Every event and request has its heading on a page, and the pages' examples are those of the document."""
        by_key = {message.key: message for message in self.all()}
        pages = {"host-events.md": {event for event, direction in self.messages},
                 "client-requests.md": {message.request for message in self.all() if message.is_request()}}
        for page, names in pages.items():
            content = (folder / page).read_text(encoding="utf-8")
            headings = set(re.findall(r"^#+ `([A-Za-z_]+)`$", content, re.MULTILINE))
            for name in sorted(name for name in names if name and name not in headings):
                self._problem(f"{page} has no heading for {name}")
            for key, block in examples_of(content):
                try:
                    example = json.loads(block)
                except ValueError as error:
                    self._problem(f"{page}, example {key}: {error}")
                    continue
                if key not in by_key:
                    self._problem(f"{page}: there is no message {key}")
                elif example not in by_key[key].examples:
                    self._problem(f"{page}: the example of {key} is not the one in the document")


def text(error):
    """A validation error in one line: where, and what."""
    error = best_match([error]) or error
    path = "/".join(str(step) for step in error.absolute_path)
    if "propertyNames" in error.absolute_schema_path:
        reason = f"unknown key {error.instance!r}"
    else:
        reason = error.message if len(error.message) < 300 else error.message[:150] + " … " + error.message[-150:]
    return f"{path}: {reason}" if path else reason


def open_objects(schema, path="", closed=False):
    """Paths of objects in a schema that name keys but not whether there may be others."""
    if not isinstance(schema, dict):
        return
    closed = closed or "additionalProperties" in schema or "propertyNames" in schema
    if "properties" in schema and not closed:
        yield path
    for name, child in schema.get("properties", {}).items():
        yield from open_objects(child, f"{path}/{name}")
    for keyword in ("items", "additionalProperties"):
        yield from open_objects(schema.get(keyword), f"{path}/*")
    for keyword in ("allOf", "anyOf", "oneOf"):
        for child in schema.get(keyword, []):
            yield from open_objects(child, path, closed)


def events_of(header):
    """Names of the events that the desk sends and receives, by the two sections of the header."""
    sections = {"Sent by the desk.": [], "Received by the desk.": []}
    section = None
    for line in header.splitlines():
        title = line.strip().lstrip("/ ")
        if title in sections:
            section = sections[title]
        name = re.search(r'constexpr char \w+\[\] = "(\w+)"', line)
        if name and section is not None:
            section.append(name.group(1))
    return tuple(sections.values())


def requests_of(source, table):
    """Names in a dispatch table, in its order."""
    body = re.search(re.escape(table) + r"\[\] = \{\n(.*?)\n\};", source, re.DOTALL)
    return re.findall(r'\{"(\w+)",', body.group(1)) if body else []


def examples_of(page):
    """Key and text of every example on a page."""
    return re.findall(r"<!-- example: (\w+) -->\n```json\n(.*?)\n```", page, re.DOTALL)


def check_line(document, line, direction=None):
    """The key of the message that a line of a recording is, and what is wrong with it; (None, []) for a line of the
    other direction."""
    try:
        entry = json.loads(line)
    except ValueError as error:
        return None, [f"no JSON: {error}"]
    except RecursionError:
        return None, ["nested too deeply to be read"]
    if not isinstance(entry, dict):
        return None, ["no object"]
    missing = [key for key in ("direction", "module", "event", "data") if key not in entry]
    if missing:
        return None, [f"no {' and no '.join(missing)}"]
    event, data = entry["event"], entry["data"]
    if entry["direction"] not in DIRECTIONS.values():
        return None, [f"direction {entry['direction']!r} is neither toDesk nor fromDesk"]
    if direction and entry["direction"] != direction:
        return None, []
    where = f"{entry['direction']} {event}"
    if (event, entry["direction"]) not in document.messages:
        return None, [f"{where}: unknown event"]
    message = document.find(event, entry["direction"], data)
    if not message:
        kind = f"request {data.get('request')!r}" if isinstance(data, dict) else "payload"
        if entry["direction"] == "fromDesk":
            kind = f"kind of answer, with the keys {sorted(data) if isinstance(data, dict) else data!r}"
        return None, [f"{where}: unknown {kind}"]
    errors = message.errors(data)
    if entry["direction"] == "fromDesk" and entry["module"] != message.module:
        errors.append(f"module is {entry['module']!r}, not {message.module!r}")
    return message.key, [f"{where} ({message.key}): {error}" for error in errors]


def check_traffic(document, files, direction, report):
    """Reports what is wrong in recordings; returns how often each message occurs and the number of wrong lines."""
    seen = Counter()
    wrong = 0
    for file in files:
        lines = 0
        with open(file, encoding="utf-8") as recording:
            for number, line in enumerate(recording, 1):
                lines += 1
                key, errors = check_line(document, line, direction)
                seen.update([key] if key else [])
                wrong += bool(errors)
                for error in errors:
                    report(f"{file}:{number}: {error}")
        if lines == 0:
            report(f"{file}: nothing was recorded")
            wrong += 1
    return seen, wrong


def main():
    parser = argparse.ArgumentParser(description="Checks recorded traffic of the desk against the document.")
    parser.add_argument("traffic", nargs="*", metavar="TRAFFIC", help="recordings, a JSON object on each line")
    parser.add_argument("--document", type=Path, default=HERE / "desk.asyncapi.yaml")
    parser.add_argument("--sources", type=Path, default=HERE.parent.parent, help="root of the source tree")
    parser.add_argument("--direction", choices=sorted(DIRECTIONS.values()), help="look at lines of this direction only")
    parser.add_argument("--every-message", action="store_true", help="every message has to occur in the recordings")
    parser.add_argument("--max", type=int, default=50, help="print so many findings at most (50)")
    options = parser.parse_args()

    findings = []
    try:
        document = Document(yaml.safe_load(options.document.read_text(encoding="utf-8")))
        document.check()
        document.check_sources(options.sources)
        document.check_pages(options.sources / "docs")
        findings += [f"{options.document.name}: {problem}" for problem in document.problems]
        seen, wrong = check_traffic(document, options.traffic, options.direction, findings.append)
    except (OSError, UnicodeDecodeError, yaml.YAMLError) as error:
        print(error, file=sys.stderr)
        return 2
    if options.every_message:
        for message in document.all():
            if message.key not in seen:
                findings.append(f"message {message.key} ({message.event}) does not occur")

    for finding in findings[:options.max]:
        print(finding, file=sys.stderr)
    if len(findings) > options.max:
        print(f"… and {len(findings) - options.max} more", file=sys.stderr)
    print(f"{len(document.all())} messages, {sum(seen.values())} recorded lines of {len(seen)} messages, "
          f"{wrong} wrong lines, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
