#pragma once
// Small rules the window's files share, each with one home.
#include <QString>

#include <string>

#include "common/picture_format.h"

namespace tavrix {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// A level as the entry boxes, the threshold box and the printed page show it.
inline constexpr const char* kLevelPicture = "###0.000dB";
inline QString LevelText(double level) { return Text(FormatPicture(level, kLevelPicture)); }

// A screen's dots per inch as the window reads them; 96 where the platform gives none.
inline double DpiOr96(int logicalDpi) { return logicalDpi > 0 ? logicalDpi : 96.0; }

}  // namespace tavrix
