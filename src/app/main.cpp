// zel [--karaoke] [FILE...]: the desktop program. Files and folders named on the
// command line are added to the task list once the window stands. With a copy
// already running, the files go to that one, which comes to the front, and
// this start ends at once.
// zel --subtitles [MEDIA [SUBTITLE]]: the subtitle editor alone, the media
// playing and the subtitle loaded; zel --subtitles SUBTITLE loads a subtitle
// without media (how the file manager opens one).
// zel --compare FIRST SECOND: the compare view alone, both files at the start.
#include "app/frmMain.h"
#include "app/frmCompare.h"
#include "app/frmCreateSubtitle.h"
#include "app/FirstPaintReport.h"
#include "app/frmStartUp.h"
#include "controls/QtText.h"
#include "desktop/clsPrevInstance.h"
#include "jobs/MainState.h"
#include "jobs/StartUp.h"
#include "player/DesktopApplication.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

// Copies of one product and version find each other; the karaoke builder is a
// product of its own.
QString Identity(const zel::StartOptions& options) {
  const zel::MainState defaults;
  const bool karaoke = options.karaoke || zel::ProductKindFor(zel::S(QCoreApplication::applicationFilePath()), options.files) == zel::kProductKaraoke;
  return zel::Q(defaults.ProductId + " " + defaults.ProductName) + (karaoke ? QStringLiteral(" karaoke ") : QStringLiteral(" ")) +
         QStringLiteral(ZEL_VERSION).section(QLatin1Char('.'), 0, 1);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  // Docks and Wayland compositors match the windows to the installed entry by
  // this name; the icon comes from the theme the install fills, looked up
  // after a second start has had its chance to leave.
  QGuiApplication::setDesktopFileName(QStringLiteral("zel"));
  const auto useIcon = [] { QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("zel"))); };

  // The subtitle editor alone is a tool beside the converter: as many as the
  // user opens, none of them taking files from a second start.
  if (const auto editor = zel::SubtitleEditorArguments(app.arguments().mid(1))) {
    QGuiApplication::setDesktopFileName(QStringLiteral("zel-subtitles"));
    zel::PrepareDesktopApplication();
    useIcon();
    zel::frmCreateSubtitle window;
    window.show();
    if (!editor->media.isEmpty()) window.OpenMedia(editor->media);
    if (!editor->subtitle.isEmpty()) window.OpenSubtitle(editor->subtitle);
    return app.exec();
  }

  if (const auto files = zel::CompareArguments(app.arguments().mid(1))) {
    zel::PrepareDesktopApplication();
    useIcon();
    zel::frmCompare window;
    window.show();
    window.Open(files->first, files->second);
    return app.exec();
  }

  zel::StartOptions options;
  QStringList files;
  for (const QString& argument : app.arguments().mid(1)) {
    if (argument == "--karaoke") {
      options.karaoke = true;
    } else {
      files << QFileInfo(argument).absoluteFilePath();
      options.files.push_back(zel::S(argument));
    }
  }

  // Before anything of the window is built: a second start leaves at once.
  auto instance = std::make_unique<zel::clsPrevInstance>();
  if (instance->PrevInstance(Identity(options), zel::JoinHandOverArguments(files)) == zel::HandOverResult::HandedOver) {
    return 0;
  }
  zel::PrepareDesktopApplication();
  useIcon();

  auto window = std::make_unique<zel::frmMain>();
  window->AdoptPrevInstance(std::move(instance));
  std::unique_ptr<zel::FirstPaintReport> firstPaint;
  if (const char* file = std::getenv("ZEL_REPORT_FIRST_PAINT"); file != nullptr && *file != '\0') {
    const char* quit = std::getenv("ZEL_QUIT_AFTER_FIRST_PAINT");
    firstPaint = std::make_unique<zel::FirstPaintReport>(window.get(), file, quit != nullptr && std::string(quit) == "1");
  }
  std::unique_ptr<zel::frmStartUp> splash;
  if (files.isEmpty()) {
    splash = std::make_unique<zel::frmStartUp>();
    splash->show();
    QObject::connect(&window->Host(), &zel::WindowHost::SplashTextChanged, splash.get(), &zel::frmStartUp::SetText);
    QApplication::processEvents();
  }
  if (zel::Main(window->Host(), options) != zel::StartResult::Ready) return 1;
  window->FormLoad(files);
  splash.reset();
  const int code = app.exec();
  firstPaint.reset();
  window.reset();
  return code;
}
