// Buttons and modifier keys as the controls' events report them: 1 left,
// 2 right, 4 middle; 1 shift, 2 control, 4 alt.
#pragma once

#include <Qt>

namespace zel {

inline int ButtonCode(Qt::MouseButtons buttons) {
  return (buttons & Qt::LeftButton ? 1 : 0) | (buttons & Qt::RightButton ? 2 : 0) |
         (buttons & Qt::MiddleButton ? 4 : 0);
}
inline int ShiftCode(Qt::KeyboardModifiers mods) {
  return (mods & Qt::ShiftModifier ? 1 : 0) | (mods & Qt::ControlModifier ? 2 : 0) |
         (mods & Qt::AltModifier ? 4 : 0);
}

}  // namespace zel
