#include "player/MpvSession.h"

#include <QMetaObject>

#include <mpv/client.h>

namespace zel {
namespace {

struct Option {
  const char* name;
  const char* value;
};

// Options of every handle. No file chooses its own config, scripts or OSC;
// the control draws its own faces.
constexpr Option kCommon[] = {
    {"config", "no"},       {"terminal", "no"},      {"osc", "no"},         {"input-default-bindings", "no"},
    {"input-vo-keyboard", "no"}, {"load-scripts", "no"}, {"ytdl", "no"},
    {"load-stats-overlay", "no"}, {"load-osd-console", "no"}, {"load-auto-profiles", "no"}, {"pause", "yes"}, {"keep-open", "yes"},
    {"idle", "yes"},        {"hr-seek", "yes"},      {"volume-max", "100"}, {"cover-art-auto", "no"},
    // An embedded cover is not a video: the control shows it as the file's picture.
    {"audio-display", "no"},
    // The subtitle file beside the medium is the control's own overlay.
    {"sub-auto", "no"},
    // Without a sound device a file still plays, its picture and time move on;
    // without this mpv ends a file whose only stream is its sound.
    {"audio-fallback-to-null", "yes"},
};
constexpr Option kVideo[] = {{"vo", "libmpv"}};
constexpr Option kHeadless[] = {{"vo", "null"}, {"ao", "null"}, {"hwdec", "no"}, {"gpu-hwdec-interop", "no"}};
constexpr Option kUntimed[] = {{"untimed", "yes"}, {"ao-null-untimed", "yes"}};

// What the player reads on every tick; observing them makes mpv wake the GUI
// thread when they change, so nothing waits on a poll of its own.
constexpr const char* kObserved[] = {"duration", "time-pos", "pause", "eof-reached", "video-params/w"};

}  // namespace

MpvSession::MpvSession(MpvOutput output, const std::vector<std::pair<QString, QString>>& extra, QObject* parent)
    : QObject(parent), output_(output) {
  handle_ = mpv_create();
  if (handle_ == nullptr) return;
  auto set = [this](const char* name, const char* value) { mpv_set_option_string(handle_, name, value); };
  for (const Option& o : kCommon) set(o.name, o.value);
  if (output == MpvOutput::Video) {
    for (const Option& o : kVideo) set(o.name, o.value);
  } else {
    for (const Option& o : kHeadless) set(o.name, o.value);
  }
  if (output == MpvOutput::Untimed) {
    for (const Option& o : kUntimed) set(o.name, o.value);
  }
  for (const auto& [name, value] : extra) set(name.toUtf8().constData(), value.toUtf8().constData());
  if (mpv_initialize(handle_) < 0) {
    mpv_terminate_destroy(handle_);
    handle_ = nullptr;
    return;
  }
  for (const char* name : kObserved) mpv_observe_property(handle_, 0, name, MPV_FORMAT_NONE);
  mpv_set_wakeup_callback(handle_, &MpvSession::Wakeup, this);
}

MpvSession::~MpvSession() { Terminate(); }

void MpvSession::Terminate() {
  if (handle_ == nullptr) return;
  emit AboutToTerminate();
  mpv_set_wakeup_callback(handle_, nullptr, nullptr);
  mpv_handle* handle = std::exchange(handle_, nullptr);
  mpv_terminate_destroy(handle);
}

// Called on one of mpv's threads: it only posts. A session deleted before the
// post arrives drops it, as Qt drops queued calls to a deleted receiver.
void MpvSession::Wakeup(void* self) {
  auto* session = static_cast<MpvSession*>(self);
  QMetaObject::invokeMethod(session, [session] { session->Drain(); }, Qt::QueuedConnection);
}

void MpvSession::Drain() {
  while (handle_ != nullptr) {
    mpv_event* event = mpv_wait_event(handle_, 0);
    if (event->event_id == MPV_EVENT_NONE) break;
    switch (event->event_id) {
      case MPV_EVENT_FILE_LOADED:
        loaded_ = true;
        emit FileLoaded();
        break;
      case MPV_EVENT_END_FILE: {
        const auto* end = static_cast<mpv_event_end_file*>(event->data);
        if (end->reason == MPV_END_FILE_REASON_ERROR && !loaded_) failed_ = true;
        emit EndFile(end->reason, end->error);
        break;
      }
      // Once mpv runs the seek, time-pos tells its target until the first
      // frame after it; a seek it drops never keeps the old target.
      case MPV_EVENT_SEEK:
        pendingSeek_.reset();
        break;
      case MPV_EVENT_PLAYBACK_RESTART:
        pendingSeek_.reset();
        emit PlaybackRestarted();
        break;
      case MPV_EVENT_PROPERTY_CHANGE:
        emit PropertyChanged(QString::fromUtf8(static_cast<mpv_event_property*>(event->data)->name));
        break;
      default:
        break;
    }
  }
}

bool MpvSession::LoadFile(const QString& path) {
  loaded_ = failed_ = false;
  pendingSeek_.reset();
  return Command({QStringLiteral("loadfile"), path});
}

bool MpvSession::Command(const QStringList& args) {
  if (handle_ == nullptr) return false;
  std::vector<QByteArray> bytes;
  for (const QString& a : args) bytes.push_back(a.toUtf8());
  std::vector<const char*> argv;
  for (const QByteArray& b : bytes) argv.push_back(b.constData());
  argv.push_back(nullptr);
  return mpv_command(handle_, argv.data()) >= 0;
}

bool MpvSession::SeekAbsolute(double seconds) {
  pendingSeek_ = seconds;
  return Command({QStringLiteral("seek"), QString::number(seconds, 'f', 6), QStringLiteral("absolute+exact")});
}

bool MpvSession::SetString(const char* name, const QString& value) {
  if (handle_ == nullptr) return false;
  return mpv_set_property_string(handle_, name, value.toUtf8().constData()) >= 0;
}

bool MpvSession::SetDouble(const char* name, double value) {
  if (handle_ == nullptr) return false;
  return mpv_set_property(handle_, name, MPV_FORMAT_DOUBLE, &value) >= 0;
}

bool MpvSession::SetFlag(const char* name, bool value) {
  if (handle_ == nullptr) return false;
  int flag = value ? 1 : 0;
  return mpv_set_property(handle_, name, MPV_FORMAT_FLAG, &flag) >= 0;
}

std::optional<double> MpvSession::GetDouble(const char* name) const {
  double value = 0;
  if (handle_ == nullptr || mpv_get_property(handle_, name, MPV_FORMAT_DOUBLE, &value) < 0) return std::nullopt;
  return value;
}

std::optional<long long> MpvSession::GetInt(const char* name) const {
  int64_t value = 0;
  if (handle_ == nullptr || mpv_get_property(handle_, name, MPV_FORMAT_INT64, &value) < 0) return std::nullopt;
  return static_cast<long long>(value);
}

std::optional<bool> MpvSession::GetFlag(const char* name) const {
  int value = 0;
  if (handle_ == nullptr || mpv_get_property(handle_, name, MPV_FORMAT_FLAG, &value) < 0) return std::nullopt;
  return value != 0;
}

std::optional<QString> MpvSession::GetString(const char* name) const {
  if (handle_ == nullptr) return std::nullopt;
  char* text = mpv_get_property_string(handle_, name);
  if (text == nullptr) return std::nullopt;
  QString result = QString::fromUtf8(text);
  mpv_free(text);
  return result;
}

QImage MpvSession::Frame() const {
  if (handle_ == nullptr) return {};
  const char* args[] = {"screenshot-raw", "video", nullptr};
  mpv_node result{};
  if (mpv_command_ret(handle_, args, &result) < 0) return {};
  QImage frame;
  if (result.format == MPV_FORMAT_NODE_MAP) {
    long long w = 0, h = 0, stride = 0;
    const mpv_byte_array* bytes = nullptr;
    QString format;
    const mpv_node_list* map = result.u.list;
    for (int i = 0; i < map->num; ++i) {
      const QByteArray key(map->keys[i]);
      const mpv_node& v = map->values[i];
      if (key == "w") w = v.u.int64;
      if (key == "h") h = v.u.int64;
      if (key == "stride") stride = v.u.int64;
      if (key == "format" && v.format == MPV_FORMAT_STRING) format = QString::fromUtf8(v.u.string);
      if (key == "data" && v.format == MPV_FORMAT_BYTE_ARRAY) bytes = v.u.ba;
    }
    // "bgr0" is the one layout mpv gives; its bytes are Qt's RGB32 on a little-endian machine.
    if (format == QLatin1String("bgr0") && bytes != nullptr && w > 0 && h > 0 &&
        static_cast<long long>(bytes->size) >= stride * h) {
      frame = QImage(static_cast<const uchar*>(bytes->data), static_cast<int>(w), static_cast<int>(h),
                     static_cast<qsizetype>(stride), QImage::Format_RGB32)
                  .copy();
    }
  }
  mpv_free_node_contents(&result);
  return frame;
}

}  // namespace zel
