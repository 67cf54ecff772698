#pragma once
#include <QIcon>
#include <QString>

namespace tavrix {

// One of the project's icons (src/app/icons) by name, made once and shared. Every QIcon
// made anew draws and caches its pixmaps anew, so an image set again on every capture
// would fill the pixmap cache with copies.
QIcon ProjectIcon(const QString& name);

}  // namespace tavrix
