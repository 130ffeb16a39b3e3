// The settings store: registry keys and their named values, kept in one text
// file under $XDG_CONFIG_HOME/Calder, or in an ini file when one is named.
//
// Each key path is a section of the file, with the hive in front
// ("[HKEY_CURRENT_USER\Software\Calder\ZEL\Settings]"); values are lines in the
// style of a .reg export: "Name"="text" for text, the normal type, and
// "Name"=dword:0000001e or "Name"=hex:.. for the other types, which read as
// absent. Every change re-reads the file, applies itself and replaces the file
// atomically under a lock, so two programs never lose each other's values.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

enum RegistryHive : uint32_t {
  HKEY_CLASSES_ROOT = 0x80000000u,
  HKEY_CURRENT_USER = 0x80000001u,
  HKEY_LOCAL_MACHINE = 0x80000002u,
  HKEY_USERS = 0x80000003u,
};

// Writes `value` as text. With `iniFile` the value goes to the section `path`
// of that file instead. False when the file could not be written.
bool RegistryWrite(RegistryHive hive, std::string_view path, std::string_view key, std::string_view value,
                   std::string_view iniFile = {});

// The text of the value, cut at its first NUL; `defaultValue` when the key or
// the value is missing or the value is not text. A value stored empty reads
// empty. With `iniFile` the rules of profile strings hold: at most 254 bytes
// are read, and an empty value gives `defaultValue`.
std::string RegistryRead(RegistryHive hive, std::string_view path, std::string_view key,
                         std::string_view defaultValue = {}, std::string_view iniFile = {});

// Removes the key with all its values and subkeys, or the whole ini section.
bool RegistryDeleteKey(RegistryHive hive, std::string_view path, std::string_view iniFile = {});

// The store file: $XDG_CONFIG_HOME/Calder/registry.reg, ~/.config when unset.
std::string RegistryStoreFile();
// Points the store at another file (tests and benchmarks); "" goes back.
void SetRegistryStoreFile(std::string path);

}  // namespace zel
