// The settings store against QSettings, the usual way a Qt program keeps its
// settings: 10 000 writes, each reaching the disk, and 10 000 reads.
#include <benchmark/benchmark.h>

#include <QSettings>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "jobs/Registry.h"

namespace {

constexpr int kOperations = 10000;
constexpr const char* kPath = "Software\\Calder\\ZEL\\Settings";

double Seconds(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string ScratchFolder() {
  std::string folder = "/tmp/zel-store-bench-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) return "/tmp";
  return folder;
}

void BM_SettingsStore(benchmark::State& state) {
  const std::string folder = ScratchFolder();
  double storeTotal = 0, peerTotal = 0;
  for (auto _ : state) {
    zel::SetRegistryStoreFile(folder + "/registry.reg");
    zel::RegistryDeleteKey(zel::HKEY_CURRENT_USER, kPath);
    auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kOperations; ++i) {
      const std::string key = "Key" + std::to_string(i % 170);
      zel::RegistryWrite(zel::HKEY_CURRENT_USER, kPath, key, std::to_string(i));
      benchmark::DoNotOptimize(zel::RegistryRead(zel::HKEY_CURRENT_USER, kPath, key, "0"));
    }
    storeTotal += Seconds(begin);

    QSettings peer(QString::fromStdString(folder + "/peer.ini"), QSettings::IniFormat);
    peer.clear();
    begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kOperations; ++i) {
      const QString key = QStringLiteral("Settings/Key%1").arg(i % 170);
      peer.setValue(key, QString::number(i));
      peer.sync();  // as the store does: every write reaches the disk
      benchmark::DoNotOptimize(peer.value(key, QStringLiteral("0")).toString());
    }
    peerTotal += Seconds(begin);
  }
  zel::SetRegistryStoreFile("");
  state.counters["ratio"] = storeTotal / peerTotal;
  state.counters["store_s"] = storeTotal / static_cast<double>(state.iterations());
  state.counters["qsettings_s"] = peerTotal / static_cast<double>(state.iterations());
  std::error_code error;
  std::filesystem::remove_all(folder, error);
}
BENCHMARK(BM_SettingsStore)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
