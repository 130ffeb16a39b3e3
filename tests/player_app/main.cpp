// zel-player FILE: one player control in a window, playing FILE, to try the
// player by hand: its status bar with the time marks, pictures and covers, and
// the subtitle beside the file. Space pauses and resumes, "[" and "]" set the
// marks at the position, Backspace clears them. With --shot OUT.png --at
// SECONDS it pauses at that time, writes the picture the control shows (the
// video, or the cover of an audio file) and ends (the rendering check). --info
// shows the facts panel beside the video (with --shot the whole window is
// written, panel and bar included); --caption and --text set what an idle
// player shows, with an empty FILE. With --fft a file without video shows the
// spectrum of its sound.
#include "controls/Theme.h"
#include "player/MpvVideoWidget.h"
#include "player/DesktopApplication.h"
#include "player/PlayerAccessibility.h"
#include "player/PlayerPicture.h"
#include "player/PlayerStatusBar.h"
#include "player/ctlDSPlayer.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QImage>
#include <QMainWindow>
#include <QTimer>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  zel::PrepareDesktopApplication();

  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addPositionalArgument("file", "the media file to play; \"\" for an idle player");
  const QCommandLineOption shot("shot", "write the picture at --at seconds to this PNG file and end", "png");
  const QCommandLineOption at("at", "seconds into the file for --shot", "seconds", "0");
  const QCommandLineOption info("info", "show the facts panel; --shot then writes the whole window");
  const QCommandLineOption caption("caption", "what the idle player shows", "text");
  const QCommandLineOption text("text", "the line below the caption", "text");
  const QCommandLineOption fft("fft", "show the spectrum of a file without video");
  parser.addOption(shot);
  parser.addOption(at);
  parser.addOption(info);
  parser.addOption(caption);
  parser.addOption(text);
  parser.addOption(fft);
  parser.process(app);
  if (parser.positionalArguments().size() != 1) parser.showHelp(2);
  const QString file = parser.positionalArguments().front();

  QMainWindow window;
  auto* player = new zel::ctlDSPlayer(&window, zel::MpvOutput::Video);
  window.setCentralWidget(player);
  window.resize(640, 497);
  window.setWindowTitle(file);
  zel::PlayerStatusBar& bar = player->StatusBar();
  bar.SetSetTagEnabled(true);
  bar.SetStatusBarSubtitleSupported(true);
  zel::ApplyPlayerTheme(*player, zel::ReadThemeSettings());
  player->SetShowMediaInfo(parser.isSet(info));
  if (parser.isSet(caption)) player->SetCaption(parser.value(caption));
  if (parser.isSet(text)) player->SetText(parser.value(text));
  QObject::connect(player, &zel::ctlDSPlayer::KeyDown, [player](int key, int) {
    if (player->Status() == 0) return;
    if (key == Qt::Key_Space) player->SetPause(player->Status() == 1);
    if (key == Qt::Key_BracketLeft) player->SetSetTagStart(player->Position());
    if (key == Qt::Key_BracketRight) player->SetSetTagEnd(player->Position());
    if (key == Qt::Key_Backspace) {
      player->SetSetTagStart(0);
      player->SetSetTagEnd(0);
    }
  });
  window.show();

  const bool shooting = parser.isSet(shot);
  // The spectrum of a paused file holds no sound yet: its shot is taken after
  // a second of playing from --at, paused.
  const bool playing = parser.isSet(fft);
  player->SetPause(shooting && !playing);
  player->SetShowFFT(parser.isSet(fft));
  if (file.isEmpty() && !shooting) return app.exec();
  if (!player->OpenFile(file)) {
    for (const QString& line : zel::ctlDSPlayer::FailureLines()) std::fprintf(stderr, "%s\n", line.toUtf8().constData());
    return 1;
  }
  if (!shooting) return app.exec();

  // The frame at the time asked for, drawn, then grabbed from the widget.
  player->SetPosition(parser.value(at).toDouble());
  const double wanted = parser.value(at).toDouble();
  int code = 1;
  int waited = 0, settled = 0;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] {
    waited += 50;
    // The spectrum pauses once it drew a second of sound, so that the file
    // cannot end under a slow poll.
    if (playing && player->Status() == 1 && player->Position() >= wanted + 1) player->SetPause(true);
    const bool there = playing ? player->Status() == 2 : std::abs(player->Position() - wanted) < 0.05;
    if (there && !player->Picture().Transitioning()) settled += 50;
    // Some more turns of the event loop after the seek, so that its frame is
    // drawn before the grab.
    if (settled < 300 && waited < 10000) return;
    const bool video = player->MediaWidth() > 0 || player->MediaHeight() > 0 || player->SpectrumRunning();
    const QImage picture = parser.isSet(info) ? window.grab().toImage()
                           : video            ? player->VideoWidget()->grabFramebuffer()
                                              : player->Picture().Screen();
    code = settled >= 300 && picture.save(parser.value(shot)) ? 0 : 1;
    app.quit();
  });
  poll.start(50);
  app.exec();
  return code;
}
