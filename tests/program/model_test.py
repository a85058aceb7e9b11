"""tilvanego model: the catalogue against the published tables, and JSON texts read, refused and checked."""

import json
import pathlib
import unittest

from running import run

TABLES = json.loads((pathlib.Path(__file__).parent.parent / "data" / "models.json").read_text(encoding="utf-8"))


def model(*arguments, given=""):
    done = run("model", *arguments, given=given.encode())
    return done.returncode, done.stdout.decode(), done.stderr.decode()


class Catalogue(unittest.TestCase):
    def test_names_are_listed_by_code_points(self):
        for option, kind, count in [([], "records", 41), (["--enums"], "enumerations", 19)]:
            names = [one["name"] for one in TABLES[kind]]
            self.assertEqual(len(names), count)
            self.assertEqual(names, sorted(names))
            self.assertEqual(model("list", *option), (0, "\n".join(names) + "\n", ""))

    def test_everything_is_described_as_published(self):
        for record in TABLES["records"]:
            status, output, errors = model("describe", record["name"], "--json")
            self.assertEqual((status, errors, output.count("\n")), (0, "", 1))
            self.assertEqual(json.loads(output), {"name": record["name"], "fields": record["fields"]})
        for enumeration in TABLES["enumerations"]:
            unknown = {"case": "unknownDefaultOpenApi", "text": "unknown_default_open_api"}
            published = enumeration | {"cases": [*enumeration["cases"], unknown]}
            self.assertEqual(json.loads(model("describe", enumeration["name"], "--json")[1]), published)

    def test_people_get_a_table(self):
        _, output, _ = model("describe", "AmountsResponse")
        row = next(line for line in output.splitlines() if line.startswith("gratuity"))
        self.assertEqual(row.split(), ["gratuity", "Gratuity", "String", "no", "pattern", r"/^\d+(\.\d{0,2})?$/"])
        self.assertIn("void", model("describe", "ListTransactionResponseInstance.TransactionType")[1].split())


class Texts(unittest.TestCase):
    def test_what_is_read_is_written_with_sorted_keys(self):
        self.assertEqual(
            model("decode", "TransactionResponse",
                  given='{"trace":{"timestamp":"2024-03-05","history":[]},"status":"new","more":1,"card":null}'),
            (0, '{\n  "status" : "unknown_default_open_api",\n  "trace" : {\n    "history" : [\n\n    ],\n'
                '    "timestamp" : "2024-03-05T00:00:00.000Z"\n  }\n}\n', ""))

    def test_refused_texts_name_the_first_field_at_fault(self):
        for name, text, path in [
            ("TransactionResponse", '{"trace":{"history":[{},{},{"timestamp":"soon"}]}}', "trace.history[2].timestamp"),
            ("ForceRequest", '{"amounts":{"currency":1,"total":1}}', "authCode"),
            ("AmountsResponse", '{"currency":"USD","approved":"1","requested":"1","Gratuity":1}', "Gratuity"),
            ("Amounts", '{"currency":1,"more":[1,]}', "$"),
        ]:
            for command in ["decode", "check"]:
                status, output, errors = model(command, name, given=text)
                self.assertEqual((status, output), (1, ""), text)
                self.assertTrue(errors.startswith(f"error: {path}: "), f"{text} {errors}")
                self.assertEqual(errors.count("\n"), 1)

    def test_a_check_names_each_broken_rule_by_its_path(self):
        self.assertEqual(model("check", "ProcessPoiRebootRequest", given='{"delayInSeconds":60,"timeout":-1}'), (0, "", ""))
        sale = {"amounts": {"currency": "USD", "total": "12.50"}, "mmId": 25, "transactionId": "123456789012",
                "trace": {"tags": ["t"] * 11}}
        status, output, errors = model("check", "SaleAndAuthRequest", given=json.dumps(sale))
        self.assertEqual((status, errors), (1, ""))
        self.assertEqual(output.splitlines(), [
            r"transactionId: pattern /^\d{12}$/",
            r"amounts.total: pattern /^\d{1,9}\.?\d{0,2}$/",
            "mmId: maximum 24",
            "trace.tags: maxItems 10"])
