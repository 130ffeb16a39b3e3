#!/usr/bin/env python3
"""Drives the real zel from outside, as a screen reader would: two files named on
its command line become task rows, the Start button is found by its name and
pressed, and the outputs of the run are checked with ffprobe; then the window
is closed through its own close button.
Usage: atspi_main.py ZEL ZEL-CLI FFMPEG FFPROBE WORKDIR
Run inside a display and a D-Bus session with QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1."""
import json
import os
import shutil
import subprocess
import sys

import pyatspi

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "gallery"))
from atspi_drive import app_named, find, press, wait_for  # noqa: E402


def rows_of(node):
    return [node.getChildAtIndex(i).name or "" for i in range(node.childCount)]


def main():
    zel, zel_cli, ffmpeg, ffprobe, work = sys.argv[1:6]
    shutil.rmtree(work, ignore_errors=True)
    out = os.path.join(work, "输出 folder")
    os.makedirs(out)
    clips = [os.path.join(work, "clip one.avi"), os.path.join(work, "片段 'two'.mkv")]
    for clip in clips:
        subprocess.run([ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                        "testsrc=size=320x240:rate=25:duration=2", "-f", "lavfi", "-i",
                        "sine=frequency=440:duration=2", "-pix_fmt", "yuv420p", "-c:v", "mpeg4",
                        "-c:a", "mp3" if clip.endswith(".avi") else "aac", "-shortest", clip], check=True)
    # A runtime folder of its own: a zel the user runs meanwhile must not take
    # this one's files as a second start's.
    runtime = os.path.join(work, "run")
    os.makedirs(runtime, mode=0o700, exist_ok=True)
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", XDG_RUNTIME_DIR=runtime,
               XDG_CONFIG_HOME=os.path.join(work, "config"), XDG_DATA_HOME=os.path.join(work, "data"))
    settings = {"OutputFolder": out, "OutputMode": "MP4", "ShowTip": "否", "MediaPlayNow": "否",
                "ConvertFinished": "无"}
    for key, value in settings.items():
        subprocess.run([zel_cli, "settings", "set", key, value], env=env, check=True)

    child = subprocess.Popen([zel] + clips, env=env)
    try:
        app = wait_for("zel on the AT-SPI desktop", lambda: app_named("zel"), 30)
        tasks = wait_for("the task list", lambda: find(app, pyatspi.ROLE_LIST, "任务列表"))
        wait_for("two task rows", lambda: len(rows_of(tasks)) == 2)
        names = rows_of(tasks)
        for stem in ("clip one", "片段 'two'"):
            if not any(stem in n for n in names):
                sys.exit(f"FAIL: no row for {stem} among {names}")
        start = wait_for("the 开始 button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "开始"))
        info = wait_for("the information list", lambda: find(app, pyatspi.ROLE_LIST, "信息"))
        press(start)
        # Short clips convert in a moment: the end shows in the information
        # lines and in the Start button's name coming back.
        wait_for("two finished tasks", lambda: len([n for n in rows_of(info) if n.endswith("| 完成")]) == 2
                 or any(n.startswith("问题") or n.startswith("发生错误") for n in rows_of(info)), 120)
        wait_for("the idle Start button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "开始"), 30)
        # The engine writes the extension in capitals, as it always has.
        outputs = sorted(f for f in os.listdir(out) if f.lower().endswith(".mp4"))
        if len(outputs) != 2:
            sys.exit(f"FAIL: outputs {outputs}; information lines {rows_of(info)}")
        for name in outputs:
            probe = subprocess.run([ffprobe, "-v", "error", "-show_streams", "-show_format", "-of", "json",
                                    os.path.join(out, name)], capture_output=True, text=True, check=True)
            facts = json.loads(probe.stdout)
            kinds = sorted(s["codec_type"] for s in facts["streams"])
            length = float(facts["format"]["duration"])
            if kinds != ["audio", "video"] or not 1.5 < length < 2.5:
                sys.exit(f"FAIL: {name} holds {kinds} for {length} s")
        done = [n for n in rows_of(info) if n.endswith("| 完成")]
        if len(done) != 2:
            sys.exit(f"FAIL: information lines {rows_of(info)}")
        press(wait_for("the close button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "关闭")))
        if child.wait(timeout=20) != 0:
            sys.exit(f"FAIL: zel ended with {child.returncode}")
        print("atspi: two rows, pressed 开始, two MP4 outputs with sound and picture, closed")
    finally:
        if child.poll() is None:
            child.kill()
            child.wait()


if __name__ == "__main__":
    main()
