#include "smthgrp/plugin/PluginOptions.h"

#include <cstdio>
#include <memory>

#include "smthgrp/plugin/PluginLibrary.h"

namespace smthgrp {

void addPluginOptions(CommandLine& line, PluginOptions& options) {
  options.file = PluginLibrary::defaultFile();
  line.app()
      .add_option("--library", options.file,
                  "Plug-in file; by default the one beside this program or in its prefix")
      ->type_name("FILE");
  const auto version = std::make_shared<bool>(false);
  line.app().add_flag("--version", *version, "Print the version of the library");
  // Comes after the callbacks of the commands, in whose place it stands.
  line.app().callback([&line, &options, version] {
    if (!*version) return;
    line.setWork([&options] {
      PluginLibrary library(options.file);
      std::printf("KSmthGrpImpt %g\n", static_cast<double>(library.call("Version").value));
    });
  });
}

}  // namespace smthgrp
