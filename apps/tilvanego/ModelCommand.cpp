#include "ModelCommand.h"

#include <algorithm>
#include <expected>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tilvanego/models/Catalogue.h>

#include "ExitStatus.h"
#include "JSONText.h"
#include "ModelRules.h"

namespace tilvanego::program {
namespace {

using models::EnumerationType;
using models::FieldDescription;
using models::RecordType;

std::string checkRecord(const std::string& name) {
  return models::findRecordType(name) ? "" : name + " is no record; see tilvanego model list";
}

std::string checkAnyName(const std::string& name) {
  if (models::findRecordType(name) || models::findEnumerationType(name)) return "";
  return name + " is no record and no enumeration; see tilvanego model list and list --enums";
}

// Tables

using Row = std::vector<std::string>;

void printTable(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i)
      line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << '\n';
  }
}

std::string ruleWords(const FieldDescription& field) {
  std::string words;
  for (const RulePart& part : partsOf(field.rule)) words += (words.empty() ? "" : ", ") + wordsFor(part);
  return words;
}

void printRecord(const RecordType& type) {
  std::vector<Row> rows{{"FIELD", "KEY", "TYPE", "REQUIRED", "RULES"}};
  for (const FieldDescription& field : type.fields) {
    rows.push_back({std::string(field.name), std::string(field.key), field.typeText(),
                    field.required ? "yes" : "no", ruleWords(field)});
  }
  printTable(rows);
}

void printEnumeration(const EnumerationType& type) {
  std::vector<Row> rows{{"CASE", "TEXT"}};
  for (const auto& [name, text] : type.cases)
    rows.push_back({std::string(name), '"' + std::string(text) + '"'});
  printTable(rows);
}

// The same as JSON

JSONObject jsonField(const FieldDescription& field) {
  JSONObject rules;
  for (const RulePart& part : partsOf(field.rule)) {
    part.isText ? rules.add(part.name, part.value) : rules.add(part.name, JSONText{part.value});
  }
  JSONObject object;
  object.add("name", field.name).add("key", field.key).add("type", field.typeText());
  return object.add("required", field.required).add("rules", rules);
}

JSONObject jsonRecord(const RecordType& type) {
  JSONList fields;
  for (const FieldDescription& field : type.fields) fields.add(jsonField(field));
  return JSONObject().add("name", type.name).add("fields", fields.finish());
}

JSONObject jsonEnumeration(const EnumerationType& type) {
  JSONList cases;
  for (const auto& [name, text] : type.cases) cases.add(JSONObject().add("case", name).add("text", text));
  return JSONObject().add("name", type.name).add("cases", cases.finish());
}

void describe(const std::string& name, bool asJSON) {
  const RecordType* const record = models::findRecordType(name);
  const EnumerationType* const enumeration = models::findEnumerationType(name);
  if (asJSON) {
    std::cout << (record ? jsonRecord(*record) : jsonEnumeration(*enumeration)).finish().text << '\n';
  } else if (record) {
    printRecord(*record);
  } else {
    printEnumeration(*enumeration);
  }
}

// JSON texts

std::expected<models::AnyRecord, JSONError> readRecord(const std::string& name) {
  const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  auto record = models::findRecordType(name)->decode(text);
  if (!record) std::cerr << "error: " << record.error().report() << '\n';
  return record;
}

int decode(const std::string& name) {
  const auto record = readRecord(name);
  if (!record) return exitFailed;
  // A record that was read is UTF-8, so it can be written.
  std::cout << record->encode({.sortedKeys = true, .pretty = true}).value() << '\n';
  return exitDone;
}

int check(const std::string& name) {
  const auto record = readRecord(name);
  if (!record) return exitFailed;
  const std::vector<std::string> broken = brokenRules(*record);
  for (const std::string& line : broken) std::cout << line << '\n';
  return broken.empty() ? exitDone : exitFailed;
}

// Commands

struct ModelArguments {
  std::string name;
  bool enumerations = false;
  bool asJSON = false;
};

using Arguments = std::shared_ptr<ModelArguments>;

void addList(CLI::App& model, const Arguments& arguments) {
  CLI::App* const command = model.add_subcommand("list", "The names of all records, one a line");
  command->add_flag("--enums", arguments->enumerations, "The names of all enumerations instead");
  command->callback([arguments] {
    const auto print = [](const auto& types) {
      for (const auto& type : types) std::cout << type.name << '\n';
    };
    arguments->enumerations ? print(models::enumerationTypes()) : print(models::recordTypes());
  });
}

void addDescribe(CLI::App& model, const Arguments& arguments) {
  CLI::App* const command =
      model.add_subcommand("describe", "The fields of a record, or the cases of an enumeration");
  command->add_option("NAME", arguments->name, "Such as Amounts, or EBT.ModelType")
      ->required()
      ->check(CLI::Validator(checkAnyName, ""));
  command->add_flag("--json", arguments->asJSON, "As one JSON object");
  command->callback([arguments] { describe(arguments->name, arguments->asJSON); });
}

void addForRecord(CLI::App& model, const Arguments& arguments, const char* verb, const char* help,
                  int (*run)(const std::string&)) {
  CLI::App* const command = model.add_subcommand(verb, help);
  command->add_option("NAME", arguments->name, "Such as TransactionResponse")
      ->required()
      ->check(CLI::Validator(checkRecord, ""));
  command->callback([arguments, run] { endWith(run(arguments->name)); });
}

}  // namespace

void addModelCommand(CLI::App& program) {
  CLI::App* const model = program.add_subcommand(
      "model", "The records of the POI interface, and JSON texts that are to be some of them");
  model->require_subcommand(1);
  const auto arguments = std::make_shared<ModelArguments>();
  addList(*model, arguments);
  addDescribe(*model, arguments);
  addForRecord(*model, arguments, "decode", "Read JSON from standard input, and write it again", decode);
  addForRecord(*model, arguments, "check", "Read JSON from standard input, and name the rules it breaks",
               check);
}

}  // namespace tilvanego::program
