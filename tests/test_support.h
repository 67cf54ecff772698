#pragma once
// Shared pieces of the test programs: running several Qt Test classes from one main,
// and reading the acceptance data under tests/data.
#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTest>

#include <initializer_list>
#include <memory>
#include <string>

namespace tavrix::testing {

inline QString DataPath(const QString& relative) { return QStringLiteral(TAVRIX_TEST_DATA "/") + relative; }

inline std::string ReadBytes(const QString& relative) {
  QFile file(DataPath(relative));
  if (!file.open(QIODevice::ReadOnly)) qFatal("missing test data %s", qPrintable(relative));
  const QByteArray bytes = file.readAll();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

// A file written by a test, whole; empty when it cannot be read.
inline std::string ReadWholeFile(const std::string& path) {
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) return {};
  const QByteArray bytes = file.readAll();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

inline QJsonObject ReadJson(const QString& relative) {
  const std::string text = ReadBytes(relative);
  return QJsonDocument::fromJson(QByteArray(text.data(), static_cast<qsizetype>(text.size()))).object();
}

// The blocks that have a single-block expectation.
inline QStringList FixtureBlockNames() {
  return {"all_00",         "all_80",          "center_000F4240",   "empty",
          "noise_seed1234", "rate_exp_0003",   "rate_exp_FFFF",     "short_100_bytes",
          "stale_start_both", "stale_start_i_only", "tone_bin0005", "tone_bin1023"};
}

// Runs each test class in turn; TAVRIX_TEST_CLASS=Name runs that class alone, so that
// its functions can be named on the command line.
template <typename Application = QCoreApplication>
int RunTestObjects(int argc, char** argv, std::initializer_list<QObject*> objects) {
  Application app(argc, argv);  // event loops, timers and queued calls need one; fonts a GUI one
  const QByteArray only = qgetenv("TAVRIX_TEST_CLASS");
  int failures = 0;
  for (QObject* object : objects)
    if (only.isEmpty() || only == object->metaObject()->className()) failures += QTest::qExec(object, argc, argv);
  return failures;
}

// The same over test classes made by their factories, each made once the application is there.
template <typename Application = QCoreApplication>
int RunTestFactories(int argc, char** argv, std::initializer_list<std::unique_ptr<QObject> (*)()> factories) {
  Application app(argc, argv);
  const QByteArray only = qgetenv("TAVRIX_TEST_CLASS");
  int failures = 0;
  for (const auto make : factories) {
    const std::unique_ptr<QObject> object = make();
    if (only.isEmpty() || only == object->metaObject()->className()) failures += QTest::qExec(object.get(), argc, argv);
  }
  return failures;
}

}  // namespace tavrix::testing

// A test program's main over the named factories, run in the order given.
#define TAVRIX_TEST_MAIN(Application, ...) \
  int main(int argc, char** argv) { return tavrix::testing::RunTestFactories<Application>(argc, argv, {__VA_ARGS__}); }
