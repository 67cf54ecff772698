// The real main window for the window tests, and what they share: every box and dialog
// answered from a script and recorded, the link's limits short, and the intervals either left
// to the test (a poll happens when the test calls it) or compressed so the window runs alone.
#pragma once

#include <QAction>
#include <QMenu>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

#include "app/command_table.h"
#include "app/cursor_panel.h"
#include "app/entry_box.h"
#include "app/main_window.h"
#include "app/plot_widget.h"
#include "app/status_panels.h"
#include "common/file_io.h"
#include "link/recording_notices.h"
#include "link/simulator_process.h"
#include "store/settings_store.h"
#include "view/window_layout.h"
#include "test_support.h"

namespace tavrix::testing {

inline constexpr int kWaitMs = 20000;

struct WindowHarness {
  enum class Polls { ByTest, Live };

  explicit WindowHarness(const QString& settingsFile = {}, Polls polls = Polls::ByTest,
                         const std::function<void(MainWindowOptions&)>& adjust = {}) {
    const bool live = polls == Polls::Live;
    MainWindowOptions o;
    o.SettingsFile = settingsFile;
    o.Timing = {.pollMs = live ? 150 : 600000, .connectionMs = live ? 50 : 0, .statusMs = live ? 60000 : 5000,
              .requestWaitMs = 20};
    o.Limits = {.connectTimeoutMs = 2000, .transferTimeoutMs = live ? 6000 : 20000,
                .stallTimeoutMs = live ? 1000 : 20000, .releasePauseMs = 0};
    o.Answerer = [this](const Question& q) {
      return questions.push_back(q), q.Buttons == MessageButtons::Ok ? MessageAnswer::Ok : answer;
    };
    o.ChooseSaveFile = [this](const SaveDialogSetup& setup) { return dialogs.push_back(setup), chosen; };
    o.ChooseColor = [this](const QString& title, const QColor&) { return colorTitles << title, color; };
    o.EditModem = [this](Modems& modems, const std::string& edited) {
      RecordingNotices notices;
      return StoreModem(modems, edited, name, address, QDateTime::currentDateTime(), notices);
    };
    if (adjust) adjust(o);
    w = std::make_unique<frmMain>(o);
    QObject::connect(w.get(), &frmMain::captureShown, [this] { ++captures; });
    if (live) w->show();
  }

  // Waits for the next connection to end, after choosing `unit` when one is given; true when it connected.
  bool WaitConnected(const std::string& unit = {}) {
    QSignalSpy done(&w->Cycle(), &AcquisitionCycle::connectFinished);
    if (!unit.empty()) w->SetCurrentModem(ModemInfo{"Sim", unit});
    return done.wait(kWaitMs) && done.last().first().toBool();
  }
  // One whole poll tick; true when it showed a capture.
  bool Capture() {
    const int before = captures;
    QSignalSpy ended(&w->Cycle(), &AcquisitionCycle::tickFinished);
    w->Cycle().timerPoll_Timer();
    return ended.wait(kWaitMs) && captures == before + 1;
  }
  // Waits until `n` captures in all have been drawn.
  bool WaitCaptures(int n) { return QTest::qWaitFor([&] { return captures >= n; }, kWaitMs); }
  QString Panel(const char* key) const { return w->Panels()->Text(key); }
  QString Status() const { return Panel("Status"); }
  int Asked(const std::string& title) const {
    return int(std::count_if(questions.begin(), questions.end(), [&](const Question& q) { return q.Title == title; }));
  }

  std::vector<Question> questions;
  MessageAnswer answer = MessageAnswer::Yes;  // to a Yes/No question
  std::vector<SaveDialogSetup> dialogs;
  std::optional<QString> chosen;
  QStringList colorTitles;
  std::optional<QColor> color;
  std::string name, address;  // what the unit dialog enters
  int captures = 0;
  std::unique_ptr<frmMain> w;
};

// A table-driven test: its _data function calls AddRows(kRows), which names one row per
// entry, and the test takes its entry with Row(kRows).
template <typename T, size_t N>
void AddRows(const T (&rows)[N]) {
  QTest::addColumn<int>("row");
  for (size_t i = 0; i < N; ++i) QTest::newRow(rows[i].name) << int(i);
}
template <typename T, size_t N>
const T& Row(const T (&rows)[N]) {
  QFETCH(int, row);
  return rows[row];
}

}  // namespace tavrix::testing
