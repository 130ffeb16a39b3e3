#!/usr/bin/env python3
"""Drives zel-gallery from outside, as a screen reader would: finds controls on
the AT-SPI desktop by role and name, presses them, and reads back what changed.
Usage: atspi_drive.py PATH/TO/zel-gallery
Run inside a display and a D-Bus session with QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1."""
import os
import subprocess
import sys
import time

import pyatspi


def wait_for(what, probe, seconds=20.0):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        found = probe()
        if found:
            return found
        time.sleep(0.1)
    sys.exit(f"FAIL: {what} did not appear")


def find(node, role, name):
    try:
        if node.getRole() == role and node.name == name:
            return node
        for i in range(node.childCount):
            hit = find(node.getChildAtIndex(i), role, name)
            if hit:
                return hit
    except Exception:  # a node can vanish while we walk
        return None
    return None


def app_named(name):
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        child = desktop.getChildAtIndex(i)
        if child is not None and child.name == name:
            return child
    return None


def press(node):
    actions = node.queryAction()
    for i in range(actions.nActions):
        if actions.getName(i) in ("Press", "press", "click"):
            return actions.doAction(i)
    return actions.doAction(0)


def main():
    gallery = sys.argv[1]
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    child = subprocess.Popen([gallery], env=env)
    try:
        app = wait_for("the gallery on the AT-SPI desktop", lambda: app_named("zel-gallery"))
        start = wait_for("the 开始 button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "开始"))
        press(start)
        wait_for("the event line after pressing 开始",
                 lambda: find(app, pyatspi.ROLE_LABEL, "最近事件：开始")
                 or find(app, pyatspi.ROLE_STATIC, "最近事件：开始"))
        check = wait_for("the 预览 check button", lambda: find(app, pyatspi.ROLE_CHECK_BOX, "预览"))
        before = check.getState().contains(pyatspi.STATE_CHECKED)
        press(check)
        wait_for("the check to flip", lambda: check.getState().contains(pyatspi.STATE_CHECKED) != before)
        tasks = wait_for("the task list", lambda: find(app, pyatspi.ROLE_LIST, "任务列表"))
        if tasks.childCount < 5:
            sys.exit(f"FAIL: the task list shows {tasks.childCount} rows")
        names = [tasks.getChildAtIndex(i).name for i in range(tasks.childCount)]
        if not any("会议录像.mkv" in n for n in names):
            sys.exit(f"FAIL: row names {names}")
        # A row added by the program reaches the reader without a new walk.
        press(wait_for("the 添加任务 button", lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, "添加任务")))
        wait_for("the added row", lambda: tasks.childCount == len(names) + 1
                 and "新任务6.mp4" in (tasks.getChildAtIndex(len(names)).name or ""))
        print("atspi: pressed 开始 and 预览, read", len(names), "rows, saw a sixth arrive")
    finally:
        child.terminate()
        child.wait(timeout=10)


if __name__ == "__main__":
    main()
