#pragma once
// Shared pieces of the test programs: running several Qt Test classes from one main,
// and reading the acceptance data under tests/data.
#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
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

// The blocks that have a single-block expectation: one "expected/<name>.json" each.
inline QStringList FixtureBlockNames() {
  return QDir(DataPath("expected")).entryList({"*.json"}, QDir::Files).replaceInStrings(".json", "");
}

// Runs each test class, made by its factory once the application is there (event loops,
// timers and queued calls need one; fonts a GUI one); TAVRIX_TEST_CLASS=Name runs that class
// alone, so that its functions can be named on the command line.
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

// A test class's factory, for the main below.
template <typename Test>
std::unique_ptr<QObject> Make() { return std::make_unique<Test>(); }

}  // namespace tavrix::testing

// A test program's main over the named factories, run in the order given.
#define TAVRIX_TEST_MAIN(Application, ...) \
  int main(int argc, char** argv) { return tavrix::testing::RunTestFactories<Application>(argc, argv, {__VA_ARGS__}); }
