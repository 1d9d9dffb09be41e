#include "smthgrp/Commands.h"
#include "smthgrp/common/LastResort.h"
#include "smthgrp/common/Manual.h"
#include "smthgrp/common/ReadingNote.h"
#include "smthgrp/model/Completion.h"
#include "smthgrp/model/ReadDocument.h"

namespace {

constexpr const char* kDescription =
    "Reads OBJ models through the KSmthGrpImpt plug-in and writes their groups and smoothing groups.";

constexpr const char* kFooter = R"(Examples:
  smthgrp info robot.obj
  smthgrp lint robot.obj
  smthgrp export robot.obj -o head.obj --group head
  smthgrp split robot.obj -o parts
  smthgrp replace robot.obj robot_pose.obj -o posed.obj
  smthgrp mesh robot.obj --mask head --crease 2 -o marked.ply

Exit status: 0 done; 1 a file cannot be read or written, or does not have what
was asked for; 2 wrong usage; 3 warnings alone, of lint --strict.
smthgrp COMMAND --help tells more about a command.)";

int run(int argc, char** argv) {
  smthgrp::CommandLine line(kDescription, kFooter);
  smthgrp::PluginOptions plugin;
  smthgrp::addPluginOptions(line, plugin);
  smthgrp::addQuiet(line);
  smthgrp::addThreads(line);
  smthgrp::addInfo(line, plugin);
  smthgrp::addLint(line);
  smthgrp::addExport(line, plugin);
  smthgrp::addSplit(line, plugin);
  smthgrp::addReplace(line, plugin);
  smthgrp::addMerge(line);
  smthgrp::addDiff(line);
  smthgrp::addFix(line);
  smthgrp::addMesh(line, plugin);
  smthgrp::addCall(line, plugin);
  smthgrp::addPsd(line);
  line.addHidden("--complete", [&line](const auto& words) { smthgrp::complete(line.app(), words); });
  line.addHidden("--manual", [&line](const auto& words) {
    for (const std::string& folder : words) smthgrp::writeManual(line.app(), folder);
  });
  return line.run(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
  return smthgrp::exitStatusOf([argc, argv] { return run(argc, argv); });
}
