// What the system does for the user when a run ends: power off, restart or log off
// through logind, open a folder in the desktop's file manager, play the two tones.
#pragma once

#include <string>

namespace zel {

// The outcome of a request to logind; `error` holds the bus's message on failure.
struct SessionActionResult {
  bool ok = false;
  std::string error;
};

// The bus where logind is reached; empty (the default) means the system bus.
// Any other D-Bus address serves a private bus with a stand-in logind.
void SetLogindBusAddress(std::string address);

// Each asks logind once and waits a few seconds at most for the answer. The
// request is interactive, so polkit asks the user for rights only now, when
// the action is actually wanted.
SessionActionResult PowerOff();
SessionActionResult Reboot();
// Ends the session this program runs in: $XDG_SESSION_ID, or else the session
// logind names for this process.
SessionActionResult LogOff();

// Hands an existing folder to xdg-open and returns at once; false when the folder
// is missing or xdg-open is not on PATH, or it cannot be started.
bool OpenFolder(const std::string& folder);

// A 16-bit stereo PCM WAV file, as bytes: the 440 Hz tone twice.
std::string ToneWave();
// Plays ToneWave with the first of pw-play, paplay and aplay on PATH and waits
// for the player, a few seconds at most. False when there is no player or it
// fails, so that the caller can fall back to a plain beep.
bool PlayTones();

}  // namespace zel
