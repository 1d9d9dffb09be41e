#include "smthgrp/model/PartOptions.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "document/Materials.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"
#include "smthgrp/common/SafeOutput.h"
#include "smthgrp/common/SimilarNames.h"
#include "smthgrp/common/TerminalText.h"
#include "smthgrp/model/Announce.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Division;
using WavefrontOBJ::OBJDocument;

void addWords(CLI::App& command, const char* names, std::vector<std::string>& words, const char* description,
              const char* kind) {
  command.add_option(names, words, description)->type_name(kind)->take_all()->allow_extra_args(false);
}

const char* nounOf(Division division) {
  switch (division) {
    case Division::group:
      return "group";
    case Division::smoothing:
      return "smoothing group";
    case Division::material:
      return "material";
    case Division::object:
      break;
  }
  return "object";
}

std::vector<std::string> namesOf(const OBJDocument& document, Division division) {
  std::vector<std::string> names;
  for (const WavefrontOBJ::OBJName& name : division == Division::group      ? document.groups()
                                           : division == Division::material ? document.materials()
                                                                            : document.objects()) {
    names.push_back(name.text);
  }
  return names;
}

std::string complaint(const OBJDocument& document, const WavefrontOBJ::UnmatchedPattern& unmatched) {
  const std::string noun = nounOf(unmatched.division);
  const std::string& word = unmatched.word;
  const std::string begin = document.source().name() + ": ";
  if (unmatched.division == Division::smoothing) {
    std::vector<std::uint64_t> numbers = smoothingNumbers(document);
    if (word == "0" || word == "off") return begin + "there are no elements outside the smoothing groups";
    numbers.erase(std::remove(numbers.begin(), numbers.end(), std::uint64_t{0}), numbers.end());
    return begin + "no " + noun + " " + word + ", the model has " +
           (numbers.empty() ? "none" : listed(numbers));
  }
  const std::vector<std::string> names = namesOf(document, unmatched.division);
  if (names.empty()) return begin + "the model has no " + noun + "s";
  if (!word.empty() && word.find_first_not_of("0123456789-") == std::string::npos &&
      unmatched.division == Division::group)
    return begin + "no group " + word + ", the model has " + counted(names.size(), "group");
  if (word.empty()) return begin + "there are no elements without " + noun;
  return begin + "no " + noun + " " + quoted(word, 60) + suggestion(names, word);
}

}  // namespace

void addSelection(CLI::App& command, PartOptions& options) {
  addWords(command, "-g,--group", options.patterns.groups, "Groups to write, by name or index", "NAME|INDEX");
  addWords(command, "-s,--smoothing-group", options.patterns.smoothing,
           "Smoothing groups to write, by number; 0 for what is in none", "NUMBER");
  addWords(command, "--object", options.patterns.objects, "Objects to write, by name", "NAME");
  addWords(command, "--material", options.patterns.materials,
           "Materials whose elements to write, by name; \"\" for those without", "NAME");
  command.add_flag("--keep-order", options.keepOrder,
                   "Write all vertices, so that their numbers stay, as blend shapes need it");
  command.add_flag("--no-smoothing", options.noSmoothing, "Write no smoothing groups");
}

void addMaterials(CLI::App& command, PartOptions& options) {
  command.add_flag("--no-materials", options.noMaterials, "Write neither materials nor libraries");
  command.add_flag("--copy-materials", options.copyMaterials,
                   "Copy the libraries and their textures to the output's folder, instead of naming them "
                   "where they are");
}

void addAsHost(CLI::App& command, PartOptions& options) {
  command.add_flag(
      "--as-host", options.asHost,
      "Write the bytes that the host would through the plug-in's calls: its reading of the file, "
      "six digits, parts with their whole vertex range");
}

void requireAsHostAlone(const CLI::App& command, const std::vector<std::string>& goesWith) {
  for (const CLI::Option* const option : command.get_options()) {
    if (option->count() == 0 || option->get_lnames().empty()) continue;
    const std::string& name = option->get_lnames()[0];
    if (name == "as-host" || std::find(goesWith.begin(), goesWith.end(), name) != goesWith.end()) continue;
    throw Failure("--" + name + " does not go with --as-host; see smthgrp " + command.get_name() + " --help",
                  kUsageError);
  }
}

WavefrontOBJ::Selection selectionOf(const OBJDocument& document, const PartOptions& options) {
  WavefrontOBJ::Selection selection;
  if (const auto unmatched = resolve(document, options.patterns, selection)) {
    throw Failure(complaint(document, *unmatched));
  }
  return selection;
}

WavefrontOBJ::WriteOptions writeOptions(const PartOptions& options) {
  WavefrontOBJ::WriteOptions write;
  write.keepOrder = options.keepOrder;
  write.smoothing = !options.noSmoothing;
  write.materials = !options.noMaterials;
  return write;
}

std::vector<std::string> planLibraries(const OBJDocument& document, const PartOptions& options,
                                       const std::string& folder, WavefrontOBJ::Companions& companions) {
  if (options.noMaterials) return {};
  WavefrontOBJ::Companions own;
  require(planCompanions(document, folder, options.copyMaterials, own, companions.copies));
  for (const std::string& warning : own.warnings) tellWarning(warning);
  companions.copies.insert(companions.copies.end(), own.copies.begin(), own.copies.end());
  return std::move(own.libraries);
}

std::vector<std::string> takeLibraries(const OBJDocument& document, const PartOptions& options,
                                       const std::string& folder,
                                       std::vector<std::unique_ptr<WavefrontOBJ::Output>>& outputs) {
  WavefrontOBJ::Companions companions;
  std::vector<std::string> names = planLibraries(document, options, folder, companions);
  require(makeCopies(companions, outputs));
  return names;
}

void writeAndCommit(const OBJDocument& document, const PartOptions& options,
                    std::unique_ptr<WavefrontOBJ::Output> output,
                    const std::function<WavefrontOBJ::Result(const WavefrontOBJ::WriteOptions& options,
                                                             WavefrontOBJ::Sink& sink,
                                                             WavefrontOBJ::WriteCounts* counts)>& write) {
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> outputs;
  std::vector<std::string> libraries;
  if (!output->isDirect()) {
    libraries = takeLibraries(document, options, WavefrontOBJ::folderPrefix(output->path()), outputs);
  }
  WavefrontOBJ::WriteOptions how = writeOptions(options);
  if (!libraries.empty()) how.libraries = &libraries;
  WavefrontOBJ::WriteCounts counts;
  {
    ProgressBar bar("writing " + output->name());
    how.progress = bar.progress();
    require(write(how, *output, &counts));
  }
  outputs.push_back(std::move(output));
  commitOutputs(outputs);
  announce(*outputs.back(), counts);
}

}  // namespace smthgrp
