// The one crossing between the core's UTF-8 strings and Qt's texts.
#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace zel {

inline QString Q(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }
inline std::string S(const QString& text) { return text.toStdString(); }

}  // namespace zel
