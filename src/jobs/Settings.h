// Every key of the settings store with its default, and the reads and writes
// that the rest of the program uses: a value is read at the moment of use and
// written back at once; there is no settings object in memory.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace zel {

struct SettingKey {
  std::string_view name;
  std::string_view defaultValue;
  // For defaults that depend on the machine or the moment (the video folder,
  // the processor count, the year); used instead of defaultValue when set.
  std::string (*computeDefault)() = nullptr;
  // A second default that one reader keeps for itself; empty when none.
  std::string_view secondDefault = {};
};

std::span<const SettingKey> SettingKeys();
// The key of that name, ignoring case; nullptr for a key outside the table.
const SettingKey* FindSettingKey(std::string_view name);
// The default of a key; "" for a key outside the table.
std::string SettingDefault(std::string_view name);
std::string SettingSecondDefault(std::string_view name);

// "Software\Calder\" + product id with blanks as "_" + "\Settings".
std::string BuildSettingsPath(std::string_view productId);

// The value in the store, or the key's default.
std::string ReadSetting(std::string_view key);
std::string ReadSetting(std::string_view key, std::string_view defaultValue);
// The value read as a yes/no word: only "是" is yes.
bool SettingIsYes(std::string_view key);
// Stores one value; listeners hear of it when what a read gives changes.
bool WriteSetting(std::string_view key, std::string_view value);
// Removes every stored setting; every read then gives its default. Listeners
// hear the empty key: any value may have changed.
bool DeleteAllSettings();

// Told, on the writing thread, the key of each setting this program changes, so
// that a view shows the store without polling it. Returns an id for removal.
using SettingListener = std::function<void(std::string_view key)>;
int AddSettingListener(SettingListener listener);
void RemoveSettingListener(int id);

}  // namespace zel
