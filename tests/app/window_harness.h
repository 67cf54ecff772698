// The real main window for the window tests: every box and dialog answered from a script
// and recorded, the link's limits short, and the intervals either left to the test (a
// poll happens when the test calls it) or compressed so that the window runs on its own.
#pragma once

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>

#include "app/main_window.h"
#include "app/status_panels.h"
#include "link/recording_notices.h"
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
    o.Limits.transferTimeoutMs = live ? 6000 : 20000;
    o.Limits.stallTimeoutMs = live ? 1000 : 20000;
    o.Limits.connectTimeoutMs = 2000;
    o.Limits.releasePauseMs = 0;
    o.Answerer = [this](const Question& q) {
      questions.push_back(q);
      return q.Buttons == MessageButtons::Ok ? MessageAnswer::Ok : answer;
    };
    o.ChooseSaveFile = [this](const SaveDialogSetup& setup) {
      dialogs.push_back(setup);
      return chosen;
    };
    o.ChooseColor = [this](const QString& title, const QColor&) {
      colorTitles << title;
      return color;
    };
    o.EditModem = [this](Modems& modems, const std::string& edited) {
      RecordingNotices notices;
      return StoreModem(modems, edited, name, address, QDateTime::currentDateTime(), notices);
    };
    if (adjust) adjust(o);
    w = std::make_unique<frmMain>(o);
    QObject::connect(w.get(), &frmMain::captureShown, [this] { ++captures; });
    if (live) w->show();
  }

  // Shown at a size with room for every panel, the noise block on the plot.
  void ShowNoise(QSize size = {1000, 640}) {
    w->resize(size);
    w->show();
    QVERIFY(QTest::qWaitForWindowExposed(w.get()));
    w->ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
  }
  bool WaitConnected() {
    QSignalSpy done(&w->Cycle(), &AcquisitionCycle::connectFinished);
    return done.wait(kWaitMs) && done.last().first().toBool();
  }
  bool Connect(const std::string& unit) {
    QSignalSpy done(&w->Cycle(), &AcquisitionCycle::connectFinished);
    w->SetCurrentModem(ModemInfo{"Sim", unit});
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

}  // namespace tavrix::testing
