// The parts of a path, as text: the folder, the file's name, its stem and its
// extension. Nothing here touches the disk. Paths use "/"; a folder keeps its
// final "/" so that a name can be appended to it.
#pragma once

#include <string>
#include <string_view>

namespace zel {

// A path's stem and its extension with the point ("/v/a.b.avi" -> "/v/a.b", ".avi").
// A point in a folder's name is no extension: "/v.d/clip" -> "/v.d/clip", "".
struct PathParts {
  std::string_view stem;
  std::string_view extension;
};
PathParts SplitExtension(std::string_view path);
// The extension without its point, as written; "" for none.
std::string ExtensionOf(std::string_view path);

// The folder with its final "/" ("/v/a.avi" -> "/v/"); "" for a bare name.
std::string FolderOf(std::string_view path);
// What follows the last "/" ("/v/a.avi" -> "a.avi"); the whole text without one.
std::string FileNameOf(std::string_view path);
// The file's name without its extension ("/v/a.b.avi" -> "a.b").
std::string BaseNameOf(std::string_view path);

// A disc drive as a task names it ("E:", "/dev/sr0:") as MEncoder's
// -dvd-device takes it: a drive letter as its root in lower case ("e:/"), a
// device as its path ("/dev/sr0").
std::string DiscDeviceOf(std::string_view drive);

// The path with a final "/" added when missing; "" stays "".
std::string cPath(std::string_view path);

}  // namespace zel
