#!/usr/bin/env python3
"""Drives zel-player from outside, as a screen reader would: the player is found
by its file's name, paused and played through its actions, sought and marked
through its time bar's value and actions, and each change read back.
Usage: atspi_player.py PATH/TO/zel-player FFMPEG WORKDIR
Run inside a display and a D-Bus session with QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1."""
import os
import subprocess
import sys

import pyatspi
from gi.repository import Atspi

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "gallery"))
from atspi_drive import app_named, find, wait_for  # noqa: E402


def actions_of(node):
    actions = node.queryAction()
    return [actions.getName(i) for i in range(actions.nActions)]


def act(node, name):
    actions = node.queryAction()
    for i in range(actions.nActions):
        if actions.getName(i) == name:
            return actions.doAction(i)
    sys.exit(f"FAIL: {node.name} offers no action {name}, only {actions_of(node)}")


def main():
    player_path, ffmpeg, work = sys.argv[1:4]
    os.makedirs(work, exist_ok=True)
    # A name with blanks, a quote and Chinese, as users' files have.
    clip = os.path.join(work, "片段 'one'.mp4")
    subprocess.run([ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    "testsrc=size=320x240:rate=25:duration=8", "-pix_fmt", "yuv420p",
                    "-c:v", "mpeg4", clip], check=True)
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    child = subprocess.Popen([player_path, clip], env=env)
    try:
        app = wait_for("zel-player on the AT-SPI desktop", lambda: app_named("zel-player"))
        player = wait_for("the player named after its file",
                          lambda: find(app, pyatspi.ROLE_ANIMATION, os.path.basename(clip)))
        wait_for("the player playing", lambda: "暂停" in actions_of(player))
        act(player, "暂停")
        wait_for("the player paused", lambda: "播放" in actions_of(player))

        bar = wait_for("the time bar", lambda: find_role(app, pyatspi.ROLE_SLIDER))
        value = bar.queryValue()
        if abs(value.maximumValue - 8.0) > 0.2:
            sys.exit(f"FAIL: the bar's maximum is {value.maximumValue}, not the clip's 8 s")
        # pyatspi's currentValue setter never reaches Qt's bridge on Debian 12;
        # the call underneath it does.
        Atspi.Value.set_current_value(bar, 5.0)
        wait_for("the seek to 5 s", lambda: abs(bar.queryValue().currentValue - 5.0) < 0.1)
        unmarked = bar.name
        act(bar, "设置开始点")
        wait_for("the start mark on the bar's text", lambda: bar.name != unmarked)
        marked = bar.name
        act(bar, "清除时间点设置")
        wait_for("the marks cleared", lambda: bar.name != marked)

        act(player, "播放")
        wait_for("playback to move on from 5 s", lambda: bar.queryValue().currentValue > 5.2)
        print("atspi: paused, sought to 5 s, marked and cleared, played on:", marked)
    finally:
        child.terminate()
        child.wait(timeout=10)


def find_role(node, role):
    try:
        if node.getRole() == role:
            return node
        for i in range(node.childCount):
            hit = find_role(node.getChildAtIndex(i), role)
            if hit:
                return hit
    except Exception:  # a node can vanish while we walk
        return None
    return None


if __name__ == "__main__":
    main()
