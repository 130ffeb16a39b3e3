// One libmpv handle: its options, the properties the player watches, commands,
// and the events of mpv turned into Qt signals on the GUI thread.
#pragma once

#include <QImage>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

struct mpv_handle;

namespace zel {

// Video draws through the render API into an MpvVideoWidget; Headless has no
// picture and no sound (tests, and audio that only needs its facts); Untimed is
// Headless without the clock, so a clip runs to its end as fast as it decodes.
enum class MpvOutput : int { Video = 0, Headless = 1, Untimed = 2 };

class MpvSession : public QObject {
  Q_OBJECT

 public:
  // The handle starts paused, keeps the file open at its end (so the player
  // sees the end by comparing times, and a repeat can seek back), and idles
  // between files. `extra` are further options, set before the initialisation.
  explicit MpvSession(MpvOutput output, const std::vector<std::pair<QString, QString>>& extra = {},
                      QObject* parent = nullptr);
  ~MpvSession() override;
  MpvSession(const MpvSession&) = delete;
  MpvSession& operator=(const MpvSession&) = delete;

  // False when mpv could not make or initialise the handle (no "C" numeric
  // locale, a refused option); every other call then does nothing.
  bool IsValid() const { return handle_ != nullptr; }
  mpv_handle* Handle() const { return handle_; }
  MpvOutput Output() const { return output_; }

  // The path goes to mpv as one argument: blanks, quotes and any script pass
  // as they are, and no shell ever sees it.
  bool LoadFile(const QString& path);
  bool Command(const QStringList& args);
  bool SeekAbsolute(double seconds);
  // mpv runs a seek after the command returns, and time-pos tells the old
  // time until then: the target asked for, until mpv restarts playback.
  std::optional<double> PendingSeek() const { return pendingSeek_; }

  bool SetString(const char* name, const QString& value);
  bool SetDouble(const char* name, double value);
  bool SetFlag(const char* name, bool value);
  std::optional<double> GetDouble(const char* name) const;
  std::optional<long long> GetInt(const char* name) const;
  std::optional<bool> GetFlag(const char* name) const;
  std::optional<QString> GetString(const char* name) const;

  // The decoded frame on show at the video's own size, without subtitles or
  // scaling; a null image when there is none.
  QImage Frame() const;

  // Whether a FILE_LOADED came since the last LoadFile, and whether the file
  // ended in an error before it loaded.
  bool Loaded() const { return loaded_; }
  bool Failed() const { return failed_; }

  // Destroys the handle now; AboutToTerminate runs first, so that a render
  // context made on it is freed while the handle still lives.
  void Terminate();

 signals:
  void FileLoaded();
  // reason is mpv_end_file_reason; error an mpv_error (negative) or 0.
  void EndFile(int reason, int error);
  void PropertyChanged(QString name);
  // Playback runs again after the file loaded or a seek ended.
  void PlaybackRestarted();
  void AboutToTerminate();

 private:
  static void Wakeup(void* self);
  void Drain();

  mpv_handle* handle_ = nullptr;
  MpvOutput output_;
  bool loaded_ = false;
  bool failed_ = false;
  std::optional<double> pendingSeek_;
};

}  // namespace zel
