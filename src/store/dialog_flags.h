#pragma once

#include <Qt>

// A dialog's frame: a title and a close button only. Without the customize hint the
// window manager adds minimise and maximise buttons that a fixed-size dialog cannot use.
inline constexpr Qt::WindowFlags kDialogFrameFlags =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
