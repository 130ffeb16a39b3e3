// zel-cli pkz: the program's archive files made, read and changed from a script.
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/CliVerbs.h"
#include "base/FileHelpers.h"
#include "subtitles/clsFilePKZ.h"

namespace zel::cli {

namespace {

using Entries = std::vector<clsFilePKZ::Entry>;

int Usage() {
  std::fputs(
      "usage: zel-cli pkz create ARCHIVE [FILE...]\n"
      "       zel-cli pkz add ARCHIVE FILE... [--name NAME]\n"
      "       zel-cli pkz list ARCHIVE\n"
      "       zel-cli pkz extract ARCHIVE -o DIR\n"
      "       zel-cli pkz extract ARCHIVE INDEX -o FILE\n"
      "       zel-cli pkz delete ARCHIVE INDEX\n",
      stderr);
  return 2;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "zel-cli: %s\n", message.c_str());
  return 1;
}

bool ParseIndex(const std::string& text, int& index) {
  if (text.empty() || text.size() > 9) return false;
  index = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    index = index * 10 + (c - '0');
  }
  return true;
}

// Opens an existing archive and reads the entries its header counts. 0, or the
// exit code of the failure, whose message is already out.
int OpenExisting(clsFilePKZ& pkz, const std::string& path, Entries& entries) {
  if (!FileExists(path)) return Fail(path + ": no such file");
  pkz.SetFilename(path);
  if (!pkz.OpenAchive()) return Fail("cannot open " + path);
  if (pkz.Signature() != "PKZ") return Fail(path + " is not a PKZ archive");
  entries = pkz.Entries();
  if (pkz.FileCount() < 0 || static_cast<int64_t>(entries.size()) < pkz.FileCount()) {
    return Fail(path + " is damaged: its header counts " + std::to_string(pkz.FileCount()) + " entries, " +
                std::to_string(entries.size()) + " can be read");
  }
  return 0;
}

int Create(const std::string& archive, const Args& files) {
  // lstat, so that a dangling link is not followed into a file made elsewhere.
  struct stat st {};
  if (::lstat(archive.c_str(), &st) == 0) return Fail(archive + " already exists; nothing was overwritten");
  clsFilePKZ pkz;
  pkz.SetFilename(archive);
  if (!pkz.CreateAchive()) return Fail("cannot create " + archive);
  for (const std::string& file : files) {
    if (!pkz.AddFile(file)) {
      // The archive is ours alone: a half-made one is not left behind.
      pkz.CloseAchive();
      DeleteFile(archive);
      return Fail("cannot add " + file + (FileSize(file) > INT32_MAX ? " (2 GB or larger)" : ""));
    }
  }
  const bool written = pkz.UpDateHeader();
  pkz.CloseAchive();
  if (!written) {
    DeleteFile(archive);
    return Fail("cannot write " + archive);
  }
  return 0;
}

int Add(const std::string& archive, const Args& rest) {
  Args files;
  std::string name;
  bool named = false;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == "--name" && i + 1 < rest.size()) {
      name = rest[++i];
      named = true;
    } else if (rest[i] == "--name") {
      return Usage();
    } else {
      files.push_back(rest[i]);
    }
  }
  if (files.empty() || (named && files.size() != 1)) return Usage();
  clsFilePKZ pkz;
  Entries entries;
  if (const int code = OpenExisting(pkz, archive, entries)) return code;
  int code = 0;
  for (const std::string& file : files) {
    if (!pkz.AddFile(file, name)) {
      code = Fail("cannot add " + file + " to " + archive);
      break;
    }
  }
  // The header is written for what went in, so that entries and count agree.
  if (!pkz.UpDateHeader()) code = Fail("cannot write the header of " + archive);
  pkz.CloseAchive();
  return code;
}

int List(const std::string& archive) {
  clsFilePKZ pkz;
  Entries entries;
  if (const int code = OpenExisting(pkz, archive, entries)) return code;
  for (size_t i = 0; i < entries.size(); ++i) {
    std::printf("%zu\t", i);
    std::fwrite(entries[i].name.data(), 1, entries[i].name.size(), stdout);
    std::printf("\t%d\n", entries[i].length);
  }
  return 0;
}

int Extract(const std::string& archive, const Args& rest) {
  std::string target, indexText;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == "-o" && i + 1 < rest.size() && target.empty()) {
      target = rest[++i];
    } else if (indexText.empty() && rest[i] != "-o") {
      indexText = rest[i];
    } else {
      return Usage();
    }
  }
  int index = 0;
  if (target.empty() || (!indexText.empty() && !ParseIndex(indexText, index))) return Usage();
  clsFilePKZ pkz;
  Entries entries;
  if (const int code = OpenExisting(pkz, archive, entries)) return code;

  if (indexText.empty()) {
    if (!MakedPath(target)) return Fail("cannot make the folder " + target);
    if (!pkz.ExtractAll(target)) {
      return Fail("not every entry of " + archive + " could be extracted (a name leading outside " + target +
                  ", or a file that could not be written)");
    }
    return 0;
  }
  if (static_cast<size_t>(index) >= entries.size()) return Fail(archive + " has no entry " + indexText);
  const int32_t length = entries[static_cast<size_t>(index)].length;
  // The archive writes nothing for an empty entry; asked for a file, the user gets one.
  if (length == 0) {
    const std::string folder = clsFilePKZ::GetFilePath(target);
    if (!folder.empty()) MakedPath(folder);
    return WriteFileAtomic(target, "") ? 0 : Fail("cannot write " + target);
  }
  pkz.ExtractFile(index, target);
  if (!FileExists(target) || FileSize(target) != length) return Fail("cannot write " + target);
  return 0;
}

int Delete(const std::string& archive, const Args& rest) {
  int index = 0;
  if (rest.size() != 1 || !ParseIndex(rest[0], index)) return Usage();
  clsFilePKZ pkz;
  Entries entries;
  if (const int code = OpenExisting(pkz, archive, entries)) return code;
  if (static_cast<size_t>(index) >= entries.size()) return Fail(archive + " has no entry " + rest[0]);
  if (!pkz.DeleteFile(index)) return Fail("cannot delete entry " + rest[0] + " of " + archive + "; it is unchanged");
  pkz.CloseAchive();
  return 0;
}

}  // namespace

int Pkz(const Args& args) {
  if (args.size() < 2) return Usage();
  const std::string& action = args[0];
  const std::string& archive = args[1];
  const Args rest(args.begin() + 2, args.end());
  if (action == "create") return Create(archive, rest);
  if (action == "add") return Add(archive, rest);
  if (action == "list") return rest.empty() ? List(archive) : Usage();
  if (action == "extract") return Extract(archive, rest);
  if (action == "delete") return Delete(archive, rest);
  return Usage();
}

}  // namespace zel::cli
