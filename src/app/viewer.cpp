#include "app/viewer.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>

#include <cstring>
#include <iostream>
#include <memory>

#include "app/demo_unit.h"
#include "app/main_window.h"
#include "app/platform.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

constexpr const char* kDemoModemName = "Simulated Demodulator";

}  // namespace

int RunViewer(int argc, char** argv) {
  bool demo = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--demo") == 0) {
      demo = true;
    } else {
      std::cerr << "tavrix-spectrum: unknown option " << argv[i] << " (see --help)\n";
      return 2;
    }
  }
  if (!DisplayAvailable()) {
    std::cerr << "tavrix-spectrum: no display to open the viewer on (DISPLAY is not set); "
                 "'tavrix-spectrum render' draws the spectrum into a PNG without one\n";
    return 1;
  }

  EnsureRuntimeFolder();
  QApplication app(argc, argv);
  QApplication::setApplicationName(kProgramTitle);
  QApplication::setOrganizationName("Tavrix");
  QApplication::setWindowIcon(QIcon(":/icons/tavrix-spectrum"));

  // Declared first, so it goes last: the window's link thread stops before the unit does.
  std::unique_ptr<DemoUnit> demoUnit;
  MainWindowOptions options;
  options.ConnectAtStart = !demo;
  frmMain window(options);
  if (demo) {
    demoUnit = std::make_unique<DemoUnit>();
    QObject::connect(demoUnit.get(), &DemoUnit::ready, &window, [&window](const QString& address) {
      // The simulated unit is stored nowhere: it exists only while this viewer runs.
      window.SetCurrentModem(ModemInfo{kDemoModemName, address.toStdString()});
    });
    QObject::connect(demoUnit.get(), &DemoUnit::failed, &window, [&window](const QString& message) {
      QMessageBox::critical(&window, kProgramTitle, message);
    });
    demoUnit->Start();
  }
  window.show();
  return QApplication::exec();
}

}  // namespace tavrix
