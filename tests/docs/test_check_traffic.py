#!/usr/bin/env python3
"""What docs/api/check_traffic.py has to find: wrong lines of a recording, faults of the document."""

import copy
import io
import json
import sys
import tempfile
import unittest
from contextlib import redirect_stderr, redirect_stdout
from pathlib import Path

import yaml

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs" / "api"))

import check_traffic  # noqa: E402
import examples  # noqa: E402

CONTENT = yaml.safe_load((ROOT / "docs" / "api" / "desk.asyncapi.yaml").read_text(encoding="utf-8"))
DOCUMENT = check_traffic.Document(CONTENT)


def line(event, data, direction="fromDesk", module="ticket_plugin"):
    return json.dumps({"time": "2026-01-01T10:00:00.000", "direction": direction, "module": module, "event": event,
                       "data": data})


def example(key):
    message = next(message for message in DOCUMENT.all() if message.key == key)
    return message, copy.deepcopy(message.examples[0])


def errors(text):
    return check_traffic.check_line(DOCUMENT, text)[1]


class Lines(unittest.TestCase):
    """Lines of a recording."""

    def test_examples_are_right(self):
        for message in DOCUMENT.all():
            with self.subTest(message.key):
                text = line(message.event, message.examples[0], message.direction, message.module)
                self.assertEqual(check_traffic.check_line(DOCUMENT, text), (message.key, []))

    def test_what_the_desk_writes_is_closed(self):
        closed = 0
        for message in DOCUMENT.all():
            if message.direction == "fromDesk" and message.schema.get("additionalProperties") is not True:
                closed += 1
                data = {**message.examples[0], "surplus": 1}
                with self.subTest(message.key):
                    found = errors(line(message.event, data, message.direction, message.module))
                    self.assertTrue(any("surplus" in error for error in found), found)
        self.assertGreater(closed, 35)

    def test_what_the_desk_writes_is_whole(self):
        dropped = 0
        for message in DOCUMENT.all():
            if message.direction != "fromDesk":
                continue
            for key in message.schema.get("required", []):
                data = {name: value for name, value in message.examples[0].items() if name != key}
                text = line(message.event, data, message.direction, message.module)
                found, wrong = check_traffic.check_line(DOCUMENT, text)
                dropped += 1
                with self.subTest(message.key, key=key):
                    # Without the key that tells it, a message may be another one, but never the same.
                    self.assertTrue(wrong or found != message.key)
        self.assertGreater(dropped, 80)

    def test_what_the_desk_reads_is_open(self):
        for message in DOCUMENT.all():
            if message.direction == "toDesk":
                with self.subTest(message.key):
                    self.assertEqual(errors(line(message.event, {**message.examples[0], "surplus": 1}, "toDesk")), [])

    def test_wrong_lines(self):
        login, login_data = example("CashierLoginAnswer")
        queue, queue_data = example("RunQueueUpdate")
        remote, remote_data = example("RemoteRunQueueUpdate")
        entry = next(iter(remote_data["req_answ"]["runHistory"]["runHistoryList"][0]["runCompetitors"].values()))
        del entry["pinCodes"]
        del queue_data["runQueue"]["currentRun"]["sortType"]
        login_data["cashierLoginData"] = {"cashierName": "Кассир"}
        table = {
            "unknown event": line("run_queue_changed", {}),
            "an event in the wrong direction": line("load_complete", {}),
            "a reply in the wrong direction": line("start_run", {}, "toDesk"),
            "no direction": json.dumps({"module": "ticket_plugin", "event": "finish_run", "data": {}}),
            "an odd direction": line("finish_run", {}, "sideways"),
            "no JSON": "{",
            "no object": "[]",
            "wrong module": line("finish_run", {}, module="cash"),
            "a form's module": line("print_results", example("PrintResults")[1]),
            "surplus key": line("finish_run", {"now": True}),
            "data of another type": line("finish_run", []),
            "missing key": line("reload_runs_archive", {}),
            "wrong value": line("reload_runs_archive", {"limitHours": 48}),
            "wrong type": line("replace_run_preset", {"runQueueGuid": 7, "preset": []}),
            "a car without its mark": line("replace_run_preset", {"runQueueGuid": "{a}", "preset": [
                {"name": "A B", "carId": 3, "clientId": -1, "competitorId": -1001}]}),
            "a mark without a car": line("replace_run_preset", {"runQueueGuid": "{a}", "preset": [
                {"name": "A B", "carId": -1, "clientId": -1, "competitorId": -1001, "sourceSet": True}]}),
            "half a login": line(login.event, login_data),
            "a run without a key": line(queue.event, queue_data),
            "a racer without a key": line(remote.event, remote_data),
            "an answer of no kind": line("local_request_answer", {"cars": []}),
            "an empty answer": line("local_request_answer", {}),
            "an unknown refusal": line("remote_control_answer",
                                       {"req_answ": {"srcRequest": "setRacer", "status": "fail", "message": "Нет"}}),
            "a ticket without data": line("remote_control_answer",
                                          {"req_answ": {"srcRequest": "checkTicket", "status": "ok", "preset": []}}),
            "an unknown entry of the log": line("write_sys_log", {"logStr": "sale", "logData": {}}),
            "no payment": line("update_remote_payments", {"itemsList": []}),
            "unknown local request": line("local_request", {"request": "open_the_gate"}, "toDesk"),
            "unknown remote request": line("remote_control_data", {"request": "doOpenGate", "trackId": "t"}, "toDesk"),
            "request without a name": line("local_request", {"requestData": {}}, "toDesk"),
            "argument of another type": line("local_request", {
                "request": "remove_checkin_items", "requestData": {"removeList": "{a}"}}, "toDesk"),
            "argument in the wrong request": line("local_request", {
                "request": "lock_unlock_run", "requestData": {"runGuid": ["{a}"]}}, "toDesk"),
            "remote argument of another type": line("remote_control_data", {
                "request": "setRacer", "trackId": "t", "carId": "3"}, "toDesk"),
            "host's key of another type": line("next_run_info", {"nextRunNum": "7"}, "toDesk"),
            "a client's data as a list": line("local_client_data", [], "toDesk"),
        }
        for name, text in table.items():
            with self.subTest(name):
                self.assertNotEqual(errors(text), [])

    def test_link_of_any_kind(self):
        for link in (None, 7, "x", ["a"], {"a": 1}):
            with self.subTest(link=link):
                self.assertEqual(errors(line("local_request_answer", {"linkGuid": link})), [])


class Faults(unittest.TestCase):
    """Faults of the document."""

    def problems(self, change):
        content = copy.deepcopy(CONTENT)
        change(content)
        document = check_traffic.Document(content)
        document.check()
        document.check_sources(ROOT)
        return document.problems

    def assert_finds(self, fragment, change):
        problems = self.problems(change)
        self.assertTrue(any(fragment in problem for problem in problems), problems)

    def test_document_as_it_is(self):
        self.assertEqual(self.problems(lambda content: None), [])

    def test_reference_without_a_target(self):
        self.assert_finds("leads nowhere", lambda content: content["components"]["schemas"].pop("CarRecord"))

    def test_reference_to_itself(self):
        def change(content):
            content["components"]["schemas"]["Guid"] = {"$ref": "#/components/schemas/Guid"}
        self.assert_finds("refers to itself", change)

    def test_missing_events(self):
        self.assert_finds("sends (hostevents.h) without a message: switch_car",
                          lambda content: content["channels"].pop("switch_car"))
        self.assert_finds("receives (hostevents.h) without a message: race_mode",
                          lambda content: content["channels"].pop("race_mode"))

    def test_surplus_event(self):
        def change(content):
            content["channels"]["open_gate"] = copy.deepcopy(content["channels"]["finish_run"])
        self.assert_finds("open_gate", change)

    def test_missing_request(self):
        for event in check_traffic.REQUEST_EVENTS:
            def change(content, event=event):
                content["channels"][event]["publish"]["message"]["oneOf"].pop(3)
            self.assert_finds(f"request of {event}", change)

    def test_order_of_requests(self):
        self.assert_finds("another order",
                          lambda content: content["channels"]["local_request"]["publish"]["message"]["oneOf"].reverse())

    def test_open_record_of_the_desk(self):
        def change(content):
            content["components"]["schemas"]["QueueRun"].pop("propertyNames")
        self.assert_finds("does not say which keys", change)

    def test_wrong_example(self):
        def change(content):
            content["components"]["messages"]["StartRun"]["examples"][0]["payload"]["sortMode"] = "best"
        self.assert_finds("StartRun, example", change)

    def test_missing_example(self):
        self.assert_finds("no example", lambda content: content["components"]["messages"]["StartRun"].pop("examples"))

    def test_hidden_message(self):
        def change(content):
            content["channels"]["start_run"]["subscribe"]["message"]["oneOf"].reverse()
        self.assert_finds("hides those", change)

    def test_message_without_a_channel(self):
        def change(content):
            content["components"]["messages"]["Extra"] = {"name": "extra", "payload": {}}
        self.assert_finds("belongs to no channel", change)

    def test_no_schema(self):
        def change(content):
            content["components"]["messages"]["CloseRun"]["payload"]["type"] = "objekt"
        self.assert_finds("CloseRun", change)


class Pages(unittest.TestCase):
    """Pages beside the document."""

    def problems(self, change):
        with tempfile.TemporaryDirectory() as folder:
            for page in examples.PAGES:
                content = (ROOT / "docs" / page).read_text(encoding="utf-8")
                (Path(folder) / page).write_text(change(content), encoding="utf-8")
            document = check_traffic.Document(CONTENT)
            document.check_pages(Path(folder))
            return document.problems

    def test_pages_as_they_are(self):
        self.assertEqual(self.problems(lambda content: content), [])

    def test_missing_headings(self):
        problems = self.problems(lambda content: content.replace("# `switch_car`\n", "# Cars\n")
                                 .replace("# `run_control`\n", "# Runs\n"))
        self.assertEqual(len(problems), 2, problems)

    def test_other_example(self):
        problems = self.problems(lambda content: content.replace('"limitHours": 24', '"limitHours": 25'))
        self.assertTrue(any("ReloadRunsArchive" in problem for problem in problems), problems)


class Program(unittest.TestCase):
    """The program as a whole, and the examples that are cut for it."""

    def run_on(self, *lines, options=()):
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder) / "traffic.jsonl"
            file.write_text("".join(text + "\n" for text in lines), encoding="utf-8")
            arguments = sys.argv
            sys.argv = ["check_traffic.py", *options, str(file)]
            out, err = io.StringIO(), io.StringIO()
            try:
                with redirect_stdout(out), redirect_stderr(err):
                    return check_traffic.main(), err.getvalue()
            finally:
                sys.argv = arguments

    def test_exit_codes(self):
        self.assertEqual(self.run_on(line("finish_run", {}))[0], 0)
        code, found = self.run_on(line("finish_run", {}), line("finish_run", {"a": 1}))
        self.assertEqual(code, 1)
        self.assertIn("traffic.jsonl:2: fromDesk finish_run (FinishRun)", found)

    def test_recording_of_nothing(self):
        self.assertEqual(self.run_on()[0], 1)

    def test_missing_file(self):
        self.assertEqual(self.run_on(line("finish_run", {}), options=["/no/such/file.jsonl"])[0], 2)

    def test_one_direction(self):
        wrong = line("next_run_info", {"nextRunNum": "7"}, "toDesk")
        self.assertEqual(self.run_on(wrong)[0], 1)
        self.assertEqual(self.run_on(wrong, options=["--direction", "fromDesk"])[0], 0)

    def test_every_message(self):
        code, found = self.run_on(line("finish_run", {}), options=["--every-message", "--max", "1000"])
        self.assertEqual(code, 1)
        self.assertIn("SwitchCar (switch_car) does not occur", found)
        self.assertNotIn("FinishRun (finish_run)", found)

    def test_cut_examples(self):
        payload = {"runs": [{"a": 1}, {"a": 2}], "codes": ["1", "2"], "text": "x" * 500,
                   "runCompetitors": {"-1001": {"a": 1}, "-1002": {"a": 2}}}
        self.assertEqual(examples.cut(payload), {"runs": [{"a": 1}], "codes": ["1", "2"], "text": "x" * 50 + "…",
                                                 "runCompetitors": {"-1001": {"a": 1}}})

    def test_written_examples_read_back(self):
        text = (ROOT / "docs" / "api" / "desk.asyncapi.yaml").read_text(encoding="utf-8")
        payload = {"runQueueGuid": "{new}", "command": "close_run", "line": "a\n\u0000\"é"}
        content = yaml.safe_load(examples.with_examples(text, {"CloseRun": payload}))
        self.assertEqual(content["components"]["messages"]["CloseRun"]["examples"], [{"payload": payload}])
        content["components"]["messages"]["CloseRun"]["examples"] = CONTENT["components"]["messages"]["CloseRun"]["examples"]
        self.assertEqual(content, CONTENT)


if __name__ == "__main__":
    unittest.main()
