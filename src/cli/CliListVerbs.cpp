// zel-cli list: task lists saved and loaded in the list file format, so that a
// script can prepare a batch for the window or for `convert --list`.
#include <unistd.h>

#include <cstdio>

#include "cli/CliHost.h"
#include "cli/CliVerbs.h"
#include "jobs/ListboxModel.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::cli {

namespace {


int Usage() {
  std::fprintf(stderr,
               "usage: zel-cli list save FILE.ini [[--cut START END PARTS] MEDIA]... [--yes]\n"
               "       zel-cli list load FILE.ini    every item as the program reads it back\n"
               "       zel-cli list show FILE.ini    one line a task: path, cut record, comment\n");
  return 2;
}

// "--cut START END PARTS" sets the points of the files after it.
int Save(const Args& args, CliHost& host) {
  ListboxModel tasks;
  std::vector<std::string> cut;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--cut" && i + 3 < args.size()) {
      cut.assign(args.begin() + static_cast<long>(i) + 1, args.begin() + static_cast<long>(i) + 4);
      i += 3;
      continue;
    }
    AddToTaskList(tasks, AbsolutePath(args[i]));
    if (!cut.empty()) {
      tasks.SetListOther(tasks.ListCount() - 1, CutRecordText(cut[0], cut[1], cut[2]));
      tasks.SetListComment(tasks.ListCount() - 1, CutComment(cut[0], cut[1], cut[2]));
    }
  }
  if (tasks.ListCount() == 0) return Usage();
  const std::string& file = args[0];
  if (FileExists(file) && !host.Ask(StrOverwriteListQuestion, false)) {
    std::fprintf(stderr, "zel-cli: %s is kept as it was\n", file.c_str());
    return 1;
  }
  if (!tasks.SaveListToFile(file)) {
    std::fprintf(stderr, "zel-cli: cannot write %s\n", file.c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int List(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  if (args.size() < 2) return Usage();
  const std::string& action = args[0];
  const Args rest(args.begin() + 1, args.end());
  if (action == "save") return Save(rest, host);
  if (rest.size() != 1 || (action != "load" && action != "show")) return Usage();
  if (!FileExists(rest[0])) {
    std::fprintf(stderr, "zel-cli: no such list: %s\n", rest[0].c_str());
    return 1;
  }
  ListboxModel tasks;
  tasks.LoadListFromFile(rest[0]);
  if (action == "load") {
    // The same lines a save of the loaded list would write.
    std::fputs(tasks.ListFileText().c_str(), stdout);
    return 0;
  }
  for (int i = 0; i < tasks.ListCount(); ++i) {
    std::printf("%d\t%s\t%s\t%s\n", i + 1, tasks.PathFromIndex(i).c_str(), tasks.ListOther(i).c_str(),
                tasks.ListComment(i).c_str());
  }
  return 0;
}

}  // namespace zel::cli
