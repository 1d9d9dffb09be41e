#include "smthgrp/common/Manual.h"

#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

#include "KSmthVersion.h"
#include "smthgrp/common/Failure.h"

namespace smthgrp {
namespace {

#define SMTHGRP_TEXT_OF(number) #number
#define SMTHGRP_TEXT(number) SMTHGRP_TEXT_OF(number)
constexpr const char* kVersion = SMTHGRP_TEXT(KSMTH_VERSION_MAJOR) "." SMTHGRP_TEXT(
    KSMTH_VERSION_MINOR) "." SMTHGRP_TEXT(KSMTH_VERSION_PATCH);
#undef SMTHGRP_TEXT
#undef SMTHGRP_TEXT_OF

/// Text of a page that stands for itself, to the typewriter's own dashes and quotes.
std::string plain(std::string_view text) {
  std::string page;
  if (text.starts_with('.') || text.starts_with('\'')) page = "\\&";
  for (const char c : text) {
    switch (c) {
      case '\\':
        page += "\\e";
        break;
      case '-':
        page += "\\-";
        break;
      case '\'':
        page += "\\(aq";
        break;
      case '`':
        page += "\\(ga";
        break;
      case '^':
        page += "\\(ha";
        break;
      case '~':
        page += "\\(ti";
        break;
      default:
        page += c;
    }
  }
  return page;
}

std::string trimmed(const std::string& text) {
  std::string copy = text;
  return CLI::detail::trim(copy);
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

/// The words before a command's options, with `between` them.
std::string fullName(const CLI::App& app, char between) {
  return app.get_parent() == nullptr ? app.get_name()
                                     : fullName(*app.get_parent(), between) + between + app.get_name();
}

void writeOptions(std::ostream& page, const CLI::App& app, bool positional) {
  const CLI::Formatter formatter;
  const char* heading = positional ? ".SH ARGUMENTS\n" : ".SH OPTIONS\n";
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty() || option->get_positional() != positional) continue;
    page << heading << ".TP\n\\fB" << plain(formatter.make_option_name(option, positional)) << "\\fR"
         << plain(formatter.make_option_opts(option)) << '\n'
         << plain(option->get_description()) << '\n';
    heading = "";
  }
}

/// What stands behind a help's options: examples and other tables are indented there, the rest is text.
void writeFooter(std::ostream& page, const std::string& footer) {
  std::istringstream lines(footer);
  std::string line;
  bool table = false;
  bool notes = false;
  const auto endTable = [&] {
    if (table) page << ".fi\n.RE\n";
    table = false;
  };
  const auto heading = [&](const std::string& text) {
    endTable();
    page << ".SH " << plain(text) << '\n';
    notes = true;
  };
  while (std::getline(lines, line)) {
    if (line == "Example:" || line == "Examples:" || line == "Calls:") {
      heading(line == "Calls:" ? "CALLS" : "EXAMPLES");
      notes = false;
    } else if (line.starts_with("  ")) {
      if (!table) page << ".PP\n.RS 2\n.nf\n";
      table = true;
      page << plain(line.substr(2)) << '\n';
    } else if (line.empty()) {
      endTable();
      if (notes) page << ".PP\n";
    } else if (constexpr std::string_view kStatus = "Exit status: "; line.starts_with(kStatus)) {
      heading("EXIT STATUS");
      page << plain(line.substr(kStatus.size())) << '\n';
    } else {
      endTable();
      if (!notes) heading("NOTES");
      page << plain(line) << '\n';
    }
  }
  endTable();
}

std::string pageOf(const CLI::App& app) {
  std::ostringstream page;
  const std::string name = fullName(app, '-');
  page << ".TH " << plain(CLI::detail::to_lower(name)) << R"( 1 "" "KSmthGrpImpt )" << kVersion
       << "\" \"User Commands\"\n.SH NAME\n"
       << plain(name) << " \\- " << plain(app.get_description()) << '\n';
  std::string usage = trimmed(CLI::Formatter().make_usage(&app, fullName(app, ' ')));
  usage.erase(0, usage.find(' ') + 1);
  page << ".SH SYNOPSIS\n.B " << plain(usage) << '\n';
  const char* heading = ".SH COMMANDS\n";
  for (const CLI::App* command : commandsOf(app)) {
    page << heading << ".TP\n.BR " << plain(fullName(*command, '-')) << " (1)\n"
         << plain(command->get_description()) << '\n';
    heading = "";
  }
  writeOptions(page, app, true);
  writeOptions(page, app, false);
  const CLI::App* footed = &app;
  while (footed->get_footer().empty() && footed->get_parent() != nullptr) footed = footed->get_parent();
  writeFooter(page, footed->get_footer());
  if (app.get_parent() != nullptr) {
    page << ".SH SEE ALSO\n.BR " << plain(fullName(*app.get_parent(), '-')) << " (1)\n";
  }
  return page.str();
}

}  // namespace

void writeManual(const CLI::App& program, const std::string& folder) {
  const std::string path = folder + "/" + fullName(program, '-') + ".1";
  std::ofstream file(path);
  file << pageOf(program);
  file.close();
  if (!file) throw systemFailure(path);
  for (const CLI::App* command : commandsOf(program)) writeManual(*command, folder);
}

}  // namespace smthgrp
