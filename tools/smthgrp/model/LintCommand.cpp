#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "document/Lint.h"
#include "smthgrp/Commands.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/ReadDocument.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Finding;
using WavefrontOBJ::FindingKind;
using WavefrontOBJ::FindingRow;
using WavefrontOBJ::Findings;
using WavefrontOBJ::kFindingKinds;
using WavefrontOBJ::Result;

/// Exit status of warnings alone with --strict.
constexpr int kOnlyWarnings = 3;

/// In the order of WavefrontOBJ::Severity, the worst first.
constexpr std::array<const char*, 3> kSeverities = {"error", "warning", "note"};
constexpr std::size_t kError = 0;
constexpr std::size_t kWarning = 1;

struct Request {
  std::vector<std::string> models;
  bool json = false;
  bool host = false;
  bool strict = false;
  bool kinds = false;
  std::size_t max = 100;  ///< 0 for all
  std::string severity = "note";
};

constexpr const char* kFooter = R"(Examples:
  smthgrp lint robot.obj
  smthgrp lint --strict --severity warning models/*.obj
  smthgrp lint --host robot.obj
  smthgrp lint --json robot.obj | jq '.findings[].kind'

An error is data that are missing: something in the file was left out. A warning
is what some program will read otherwise. docs/findings.md says what each kind
means.
Exit status: 0 no errors; 1 errors, or a file that cannot be read; 2 wrong
usage; 3 with --strict, warnings and no errors. What is not asked for by
--severity and --host does not count.)";

std::size_t severityOf(const FindingRow& row) {
  return static_cast<std::size_t>(row.severity);
}

/// One finding of these stands for all of its kind, and its text is how many.
bool isTotal(FindingKind kind) {
  return kind == FindingKind::unusedVertices || kind == FindingKind::trailingVertices ||
         kind == FindingKind::coincidentVertices;
}

/// What is asked for of the findings of one file.
struct Report {
  std::string file;
  std::string error;  ///< why the file cannot be read; empty where it was
  std::vector<Finding> listed;
  std::uint64_t total = 0;
  std::array<std::uint64_t, kSeverities.size()> counts{};
  std::uint64_t ofHost = 0;    ///< that are not asked for
  bool explainsError = false;  ///< a finding says why
};

Report reportOn(const Request& request, const std::string& path) {
  const std::size_t max = request.max == 0 ? std::numeric_limits<std::size_t>::max() : request.max;
  WavefrontOBJ::OBJDocument document;
  Result result = tryReadDocument(path, document, max);
  Findings findings(max);
  if (result) {
    ProgressBar bar("checking " + inputName(path));
    WavefrontOBJ::LintOptions options;
    options.progress = bar.progress();
    result = lint(document, options, findings);
  }
  findings.add(document.findings());

  Report report;
  report.file = inputName(path);
  report.error = result.text;
  report.explainsError = findings.count(FindingKind::utf16) > 0 || findings.count(FindingKind::notText) > 0;
  const auto* const least = std::find(kSeverities.begin(), kSeverities.end(), request.severity);
  const auto most = static_cast<std::size_t>(least - kSeverities.begin());
  const auto isAskedFor = [&](const FindingRow& row) {
    return severityOf(row) <= most && (request.host || !row.hostOnly);
  };
  for (const FindingRow& row : kFindingKinds) {
    const std::uint64_t count = std::min(findings.count(row.kind), isTotal(row.kind) ? 1 : ~std::uint64_t{0});
    if (isAskedFor(row)) report.counts[severityOf(row)] += count;
    if (row.hostOnly && !request.host) report.ofHost += count;
  }
  for (const std::uint64_t count : report.counts) report.total += count;
  for (const Finding& finding : findings.kept()) {
    if (report.listed.size() < max && isAskedFor(rowOf(finding.kind))) report.listed.push_back(finding);
  }
  return report;
}

void printFinding(const std::string& file, const Finding& finding) {
  const FindingRow& row = rowOf(finding.kind);
  std::string line = printable(file);
  if (finding.line > 0) line += ":" + std::to_string(finding.line);
  if (finding.column > 0) line += ":" + std::to_string(finding.column);
  line += std::string(": ") + kSeverities[severityOf(row)] + ": " + std::string(row.text);
  if (!finding.text.empty()) {
    line += ": " + (isTotal(finding.kind) ? finding.text : quoted(finding.text, 60));
  }
  std::printf("%s [%s]\n", line.c_str(), std::string(row.code).c_str());
}

void printText(const Report& report) {
  for (const Finding& finding : report.listed) printFinding(report.file, finding);
  std::string summary;
  for (std::size_t i = 0; i < kSeverities.size(); ++i) {
    if (report.counts[i] == 0) continue;
    summary += (summary.empty() ? "" : ", ") + counted(report.counts[i], kSeverities[i]);
  }
  if (summary.empty()) summary = report.error.empty() ? "nothing found" : "not read";
  if (report.total > report.listed.size()) {
    summary += "; " + std::to_string(report.total - report.listed.size()) + " not listed, see --max";
  }
  if (report.ofHost > 0)
    summary += "; the host reads " + counted(report.ofHost, "place") + " otherwise, see --host";
  std::printf("%s: %s\n", printable(report.file).c_str(), summary.c_str());
}

void printJson(const Report& report) {
  using Json = nlohmann::ordered_json;
  Json document = {{"file", report.file}};
  if (!report.error.empty()) document["error"] = report.error;
  document["counts"] = {{"errors", report.counts[0]},
                        {"warnings", report.counts[1]},
                        {"notes", report.counts[2]},
                        {"hostNotListed", report.ofHost}};
  Json& list = document["findings"] = Json::array();
  for (const Finding& finding : report.listed) {
    const FindingRow& row = rowOf(finding.kind);
    const auto place = [](std::uint64_t number) { return number == 0 ? Json() : Json(number); };
    list.push_back({{"line", place(finding.line)},
                    {"column", place(finding.column)},
                    {"offset", finding.line == 0 ? Json() : Json(finding.offset)},
                    {"severity", kSeverities[severityOf(row)]},
                    {"kind", row.code},
                    {"host", row.hostOnly},
                    {"message", row.text},
                    {"text", finding.text}});
  }
  // Names are bytes of the file in whatever encoding.
  std::printf("%s\n", document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

/// The page of the documentation.
void printKinds() {
  std::printf(
      "# Findings\n\n"
      "What `smthgrp lint` finds in a file. An *error* is data that are missing: something in the file was "
      "left "
      "out. A\n*warning* is what some program will read otherwise, a *note* is worth knowing. Those of the "
      "second table are listed\nwith `--host` alone: other programs have no trouble with them. Written by "
      "`smthgrp lint --kinds`.\n");
  for (const bool host : {false, true}) {
    std::printf("\n## %s\n\n| Kind | Severity | What it means |\n|---|---|---|\n",
                host ? "What the host reads otherwise" : "In every file");
    for (const FindingRow& row : kFindingKinds) {
      if (row.hostOnly != host) continue;
      std::printf("| `%s` | %s | %s |\n", std::string(row.code).c_str(), kSeverities[severityOf(row)],
                  std::string(row.text).c_str());
    }
  }
}

void run(const Request& request) {
  if (request.kinds) return printKinds();
  if (request.models.empty()) throw Failure("MODEL is required; see smthgrp lint --help", kUsageError);
  bool errors = false;
  bool warnings = false;
  for (const std::string& path : request.models) {
    const Report report = reportOn(request, path);
    if (!report.error.empty() && (request.json || !report.explainsError)) tellFailure(report.error);
    request.json ? printJson(report) : printText(report);
    errors = errors || !report.error.empty() || report.counts[kError] > 0;
    warnings = warnings || report.counts[kWarning] > 0;
  }
  if (errors) throw ExitStatus{kDataError};
  if (warnings && request.strict) throw ExitStatus{kOnlyWarnings};
}

}  // namespace

void addLint(CommandLine& line) {
  const auto request = std::make_shared<Request>();
  CLI::App& command = line.add("lint", "List by line what is wrong or doubtful in models", kFooter);
  command.add_option("MODEL", request->models, "OBJ files to read; - for standard input")->type_name("");
  command.add_flag("--json", request->json, "Print JSON, one document for each file");
  command.add_option("--max", request->max, "List at most so many for each file; 0 for all")
      ->type_name("N")
      ->check([](const std::string& text) {
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
        return isNumber ? std::string() : "is a number from 0 up, not " + text;
      })
      ->capture_default_str();
  command.add_option("--severity", request->severity, "The least that is listed")
      ->type_name(CLI::detail::join(kSeverities, "|"))
      ->check(CLI::IsMember(std::vector<std::string>(kSeverities.begin(), kSeverities.end())).description(""))
      ->capture_default_str();
  command.add_flag("--host", request->host, "List what the host would read otherwise, too");
  command.add_flag("--strict", request->strict, "Exit status 3 where there are only warnings");
  command.add_flag("--kinds", request->kinds)->group("");
  line.setWork(command, [request] { run(*request); });
}

}  // namespace smthgrp
