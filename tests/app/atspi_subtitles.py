#!/usr/bin/env python3
"""Drives the real subtitle editor from outside, as a screen reader would: zel
starts with a clip and an .srt, the last entry is timed from the playing clip
with the set-start and set-end buttons, saved through the save dialog under a
new name and then over it, and the written file is read back; the window is
closed through the window system, answering the question about a later change.
Usage: atspi_subtitles.py ZEL ZEL-CLI FFMPEG WORKDIR
Run inside a display and a D-Bus session with QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1."""
import ctypes
import os
import re
import shutil
import subprocess
import sys

import pyatspi

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "gallery"))
from atspi_drive import app_named, find, press, wait_for  # noqa: E402

CLIP_SECONDS = 30
ENTRIES = [("00:00:01,000", "00:00:02,500", "第一句 hello"),
           ("00:00:04,000", "00:00:05,000", "第二句"),
           ("00:00:25,000", "00:00:26,000", "最后 一句")]
PAIR = re.compile(r"(\d\d):(\d\d):(\d\d),(\d\d\d)")


def seconds(text):
    h, m, s, ms = (int(x) for x in PAIR.fullmatch(text).groups())
    return h * 3600 + m * 60 + s + ms / 1000


def rows_of(node):
    return [node.getChildAtIndex(i).name or "" for i in range(node.childCount)]


def pair_of(row_name):
    """The time pair at the head of a row's name: (start, end) texts."""
    hit = re.match(r"(\S+)->(\S+)", row_name)
    return (hit.group(1), hit.group(2)) if hit else None


def find_all(node, role, found=None):
    found = [] if found is None else found
    try:
        if node.getRole() == role:
            found.append(node)
        for i in range(node.childCount):
            find_all(node.getChildAtIndex(i), role, found)
    except Exception:  # a node can vanish while we walk
        pass
    return found


EDITOR_ROLES = (pyatspi.ROLE_FRAME, pyatspi.ROLE_WINDOW, pyatspi.ROLE_FILLER)


def editor_window(app):
    """The editor's own window; its message boxes share its title but are dialogs."""
    for i in range(app.childCount):
        window = app.getChildAtIndex(i)
        if window is not None and window.name == "字幕编辑工坊" and window.getRole() in EDITOR_ROLES:
            return window
    return None


def dialog_with_button(app, button):
    """The first window of the app, other than the editor, holding a button so named."""
    for i in range(app.childCount):
        window = app.getChildAtIndex(i)
        if window is None or window.name == "字幕编辑工坊" and window.getRole() in EDITOR_ROLES:
            continue
        hit = find(window, pyatspi.ROLE_PUSH_BUTTON, button)
        if hit:
            return window, hit
    return None


def answer(app, question, button):
    """Presses `button` in the message box that shows `question`."""
    def probe():
        found = dialog_with_button(app, button)
        if found and any(question in (n.name or "") for n in find_all(found[0], pyatspi.ROLE_LABEL)):
            return found[1]
        return None
    press(wait_for(f"the question {question}", probe))


def save_through_dialog(app, path):
    """Types `path` into the save dialog's name field and presses its save button."""
    dialog, save = wait_for("the save dialog", lambda: dialog_with_button(app, "Save"))
    if dialog.name != "保存字幕":
        sys.exit(f"FAIL: the save dialog is called {dialog.name!r}")
    fields = [n for n in find_all(dialog, pyatspi.ROLE_TEXT) if n.getState().contains(pyatspi.STATE_EDITABLE)]
    if len(fields) > 1:
        fields = [n for n in fields if "name" in (n.name or "").lower()]
    if len(fields) != 1:
        sys.exit(f"FAIL: the save dialog has no one name field: {[f.name for f in fields]}")
    fields[0].queryEditableText().setTextContents(path)
    press(save)


def close_window(pid, title):
    """Asks the window to close as a window manager's close button does."""
    x = ctypes.cdll.LoadLibrary("libX11.so.6")
    x.XOpenDisplay.restype = ctypes.c_void_p
    x.XDefaultRootWindow.restype = ctypes.c_ulong
    x.XInternAtom.restype = ctypes.c_ulong
    for name in ("XDefaultRootWindow", "XInternAtom", "XQueryTree", "XGetWindowProperty", "XSendEvent",
                 "XFlush", "XFree", "XCloseDisplay"):
        getattr(x, name).argtypes = None
    display = ctypes.c_void_p(x.XOpenDisplay(None))
    root = x.XDefaultRootWindow(display)
    atom = {n: ctypes.c_ulong(x.XInternAtom(display, n.encode(), False))
            for n in ("_NET_WM_PID", "_NET_WM_NAME", "UTF8_STRING", "CARDINAL", "WM_PROTOCOLS", "WM_DELETE_WINDOW")}

    def prop(window, name, kind):
        actual, fmt = ctypes.c_ulong(), ctypes.c_int()
        count, rest, data = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.POINTER(ctypes.c_ubyte)()
        if x.XGetWindowProperty(display, ctypes.c_ulong(window), atom[name], ctypes.c_long(0), ctypes.c_long(1024),
                                False, atom[kind], ctypes.byref(actual), ctypes.byref(fmt), ctypes.byref(count),
                                ctypes.byref(rest), ctypes.byref(data)) != 0 or not data:
            return None
        value = (ctypes.cast(data, ctypes.POINTER(ctypes.c_ulong))[0] if fmt.value == 32
                 else bytes(data[:count.value]).decode("utf-8", "replace"))
        x.XFree(data)
        return value

    root_back, parent = ctypes.c_ulong(), ctypes.c_ulong()
    children, count = ctypes.POINTER(ctypes.c_ulong)(), ctypes.c_uint()
    x.XQueryTree(display, ctypes.c_ulong(root), ctypes.byref(root_back), ctypes.byref(parent),
                 ctypes.byref(children), ctypes.byref(count))
    windows = [children[i] for i in range(count.value)]
    if children:
        x.XFree(children)
    targets = [w for w in windows if prop(w, "_NET_WM_PID", "CARDINAL") == pid
               and prop(w, "_NET_WM_NAME", "UTF8_STRING") == title]
    if not targets:
        sys.exit(f"FAIL: no window {title} of process {pid}")

    class ClientMessage(ctypes.Structure):
        _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                    ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                    ("format", ctypes.c_int), ("data", ctypes.c_long * 5)]

    class Event(ctypes.Union):
        _fields_ = [("message", ClientMessage), ("pad", ctypes.c_long * 24)]

    event = Event()
    event.message.type = 33  # ClientMessage
    event.message.window = targets[0]
    event.message.message_type = atom["WM_PROTOCOLS"].value
    event.message.format = 32
    event.message.data[0] = atom["WM_DELETE_WINDOW"].value
    x.XSendEvent(display, ctypes.c_ulong(targets[0]), False, ctypes.c_long(0), ctypes.byref(event))
    x.XFlush(display)
    x.XCloseDisplay(display)


def main():
    zel, zel_cli, ffmpeg, work = sys.argv[1:5]
    shutil.rmtree(work, ignore_errors=True)
    folder = os.path.join(work, "字幕 folder")
    os.makedirs(folder)
    clip = os.path.join(folder, "片段 one.mkv")
    subprocess.run([ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    f"testsrc=size=320x240:rate=25:duration={CLIP_SECONDS}", "-f", "lavfi", "-i",
                    f"sine=frequency=440:duration={CLIP_SECONDS}", "-pix_fmt", "yuv420p", "-c:v", "mpeg4",
                    "-c:a", "aac", "-shortest", clip], check=True)
    original = os.path.join(folder, "原稿 字幕.srt")
    with open(original, "w", encoding="utf-8") as srt:
        for number, (start, end, text) in enumerate(ENTRIES, 1):
            srt.write(f"{number}\n{start} --> {end}\n{text}\n\n")
    source_bytes = open(original, "rb").read()
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
               XDG_CONFIG_HOME=os.path.join(work, "config"), XDG_DATA_HOME=os.path.join(work, "data"))
    # No desktop named, so Qt shows its own file dialog, not a desktop's.
    for name in ("XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "QT_QPA_PLATFORMTHEME"):
        env.pop(name, None)
    # Played on, the last entry stays the current one however far the clip runs.
    for key, value in {"SubtitleEditPlayType": "整体播放", "LastSaveFileFolder": folder}.items():
        subprocess.run([zel_cli, "settings", "set", key, value], env=env, check=True)

    child = subprocess.Popen([zel, "--subtitles", clip, original], env=env)
    try:
        app = wait_for("zel on the AT-SPI desktop", lambda: app_named("zel"), 30)
        window = wait_for("the editor window", lambda: editor_window(app))
        entries = wait_for("the entry list", lambda: find(window, pyatspi.ROLE_LIST, "字幕列表"))
        wait_for("three entries", lambda: len(rows_of(entries)) == 3)
        names = rows_of(entries)
        for (start, end, text), name in zip(ENTRIES, names):
            if pair_of(name) != (start, end) or text not in name:
                sys.exit(f"FAIL: rows {names}")
        # The controls are the window's children: one look at them, not a
        # walk of the whole tree for each.
        controls = {(c.getRole(), c.name): c for c in (window.getChildAtIndex(i) for i in range(window.childCount))}
        set_start, set_end, save, player = (
            controls.get(key) or sys.exit(f"FAIL: no {key[1]} among {sorted(n for _, n in controls)}")
            for key in ((pyatspi.ROLE_PUSH_BUTTON, "设置开始"), (pyatspi.ROLE_PUSH_BUTTON, "设置结束"),
                        (pyatspi.ROLE_PUSH_BUTTON, "保存字幕"), (pyatspi.ROLE_ANIMATION, "字幕预览播放器")))
        last = entries.getChildAtIndex(2)
        press(last)
        wait_for("the last row selected", lambda: last.getState().contains(pyatspi.STATE_SELECTED))
        # The clip must be running before its clock is taken.
        wait_for("the playing clip", lambda: any(player.queryAction().getName(i) == "暂停"
                                                  for i in range(player.queryAction().nActions)), 30)

        press(set_start)
        wait_for("a new start on the last row", lambda: pair_of(rows_of(entries)[2])[0] != ENTRIES[2][0])
        start = pair_of(rows_of(entries)[2])[0]

        # The end is taken again until the clip has played on half a second.
        def later_end():
            press(set_end)
            pair = pair_of(rows_of(entries)[2])
            return pair if seconds(pair[1]) >= seconds(start) + 0.5 else None
        pair = wait_for("an end half a second after the start", later_end, 30)
        if pair[0] != start or not 0 < seconds(pair[0]) < seconds(pair[1]) < CLIP_SECONDS:
            sys.exit(f"FAIL: the last row's times {pair}")
        if rows_of(entries)[:2] != names[:2]:
            sys.exit(f"FAIL: other rows changed: {rows_of(entries)}")

        saved = os.path.join(folder, "改后 字幕.srt")
        press(save)
        save_through_dialog(app, saved)
        wait_for("the saved file", lambda: os.path.exists(saved))
        written = open(saved, encoding="utf-8-sig").read()
        # Saved again over the same name: the dialog offers it, the editor asks.
        press(save)
        dialog, save_button = wait_for("the save dialog again", lambda: dialog_with_button(app, "Save"))
        os.remove(saved)
        with open(saved, "w", encoding="utf-8") as stale:
            stale.write("stale\n")
        press(save_button)
        answer(app, "是否覆盖已经存在的文件？", "Yes")
        wait_for("the file saved over", lambda: open(saved, encoding="utf-8-sig").read() == written)

        blocks = [b.split("\n") for b in written.strip().split("\n\n")]
        if [b[0] for b in blocks] != ["1", "2", "3"] or [b[2] for b in blocks] != [e[2] for e in ENTRIES]:
            sys.exit(f"FAIL: the saved file reads {written!r}")
        times = [b[1] for b in blocks]
        expected = [f"{s} --> {e}" for s, e, _ in ENTRIES[:2]] + [f"{pair[0]} --> {pair[1]}"]
        if times != expected:
            sys.exit(f"FAIL: the saved times {times}, expected {expected}")
        if open(original, "rb").read() != source_bytes:
            sys.exit("FAIL: the source subtitle changed")

        # One more change, then the window's close: the question about it is
        # answered No, and the saved file stays as it was.
        press(set_start)
        wait_for("the changed start", lambda: pair_of(rows_of(entries)[2])[0] != pair[0])
        close_window(child.pid, "字幕编辑工坊")
        answer(app, "字幕已修改，是否保存？", "No")
        try:
            if child.wait(timeout=20) != 0:
                sys.exit(f"FAIL: zel ended with {child.returncode}")
        except subprocess.TimeoutExpired:
            sys.exit("FAIL: the editor stayed open after its close was answered")
        if open(saved, encoding="utf-8-sig").read() != written:
            sys.exit("FAIL: closing without saving changed the saved file")
        print(f"atspi: timed the last entry {pair[0]}->{pair[1]}, saved it and saved over it, closed unsaved")
    finally:
        if child.poll() is None:
            child.kill()
            child.wait()


if __name__ == "__main__":
    main()
