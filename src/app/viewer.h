#pragma once

namespace tavrix {

// Opens the viewer window and runs it until it is closed. Options: --demo.
int RunViewer(int argc, char** argv);

}  // namespace tavrix
