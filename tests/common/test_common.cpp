// Number text (the exported values), picture formats (the status and caption texts)
// and the file helpers that keep an export from ever half-replacing a file.
#include <QtTest>  // with the whole of Qt Core

#include <bit>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <future>
#include <limits>
#include <random>
#include <vector>

// FIFOs, devices and a file size limit stand for what the system refuses; where they do
// not exist the tests of them are skipped.
#if defined(Q_OS_UNIX)
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "common/file_io.h"
#include "common/number_text.h"
#include "common/picture_format.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

class CommonTest : public QObject {
  Q_OBJECT

 private slots:
  void agreesWithPrintf() {
    std::setlocale(LC_NUMERIC, "C");  // printf's decimal point, whatever the environment says
    const auto check = [](float value) {
      char printed[64];  // printf writes "-0" for negative zero; the exports write "0"
      std::snprintf(printed, sizeof printed, "%.7G", value == 0 ? 0.0 : static_cast<double>(value));
      if (NumberText(value) == printed) return true;
      qWarning("%.9g: %s instead of %s", double(value), NumberText(value).c_str(), printed);
      return false;
    };
    // The edges of the fixed form, rounding up to a power of ten, the smallest and the
    // largest values, negative zero ("0", as the exports write it).
    for (const float v : {1234567.0f, 12345678.0f, 0.0001f, 0.00001f, 9999999.5f, 1.4e-45f, 3.4028235e38f, -0.0f})
      QVERIFY(check(v));
    // The decimal exponent estimate is one off next to powers of ten.
    for (int e = -40; e <= 38; ++e) {
      const float p = std::pow(10.0f, static_cast<float>(e));
      for (float v : {p, std::nextafter(p, 0.0f), std::nextafter(p, std::numeric_limits<float>::infinity())})
        QVERIFY(check(v));
    }
    // Random bits of every class, and values the instrument produces (levels,
    // frequencies, samples, transform outputs).
    std::mt19937 rng(20261122);
    std::uniform_real_distribution<double> level(0.0, 160.0), wide(-2e6, 2e6);
    for (int n = 0; n < 400000; ++n) {
      const uint32_t bits = rng();
      float value = std::bit_cast<float>(bits);
      if (n % 4 == 1) value = static_cast<float>(level(rng));
      if (n % 4 == 2) value = static_cast<float>(wide(rng));
      if (n % 4 == 3) value = static_cast<float>(static_cast<int>(bits % 2000001) - 1000000) / 8.0f;
      if (value == value) QVERIFY(check(value));  // NaN has no single text
    }
  }

  // The panels and span captions are checked with the acceptance results; here the edges.
  void pictures() {
    const struct { double value; const char *picture, *text; } rows[] = {
        {0.0000061, "##0.0000KHz", "0.0000KHz"}, {1234.56789, "##0.000MHz", "1234.568MHz"},
        {-12.345, "###0.00dB", "-12.35dB"},      {-0.001, "###0.00dB", "0.00dB"},  // no "-0.00dB"
        {9.99999, "#0.00KHz", "10.00KHz"}};                                         // a carry
    for (const auto& [value, picture, text] : rows) QCOMPARE(FormatPicture(value, picture), text);
  }

  void writesReplaceWholeFilesAndReadsStopAtTheCap() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("set.txt").toStdString();
    QCOMPARE(WriteFileAtomically(path, std::string(200, 'a')), std::string());
    QCOMPARE(WriteFileAtomically(path, std::string(100, 'b')), std::string());
    // No name is a failure that touches nothing; the export tests show the others.
    QVERIFY(!WriteFileAtomically("", "x").empty());
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"set.txt"});
    std::string data;
    QCOMPARE(ReadFileCapped(path, 100, data), std::string());
    QCOMPARE(data, std::string(100, 'b'));
    QVERIFY(ReadFileCapped(path, 99, data).find("larger") != std::string::npos && data.empty());

    // A replaced file keeps its permissions, and a link keeps naming the file it named,
    // whose content is what changes.
    QFile::setPermissions(QString::fromStdString(path), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QString link = QDir(dir.path()).filePath("latest.txt");
    QVERIFY(QFile::link(QString::fromStdString(path), link));
    QCOMPARE(WriteFileAtomically(link.toStdString(), "through the link"), std::string());
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(ReadWholeFile(path), std::string("through the link"));
    const QFile::Permissions ownerGroupOther(0x7077);  // leaving out what the running user may do
    QCOMPARE(QFile::permissions(QString::fromStdString(path)) & ownerGroupOther,
             QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
  }

  // Only a regular file (or a link to one) is read: a FIFO would keep the reader waiting
  // for a writer for ever, a device could go on for ever.
  void readsOnlyRegularFiles() {
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return QDir(dir.path()).filePath(name).toStdString(); };
    QCOMPARE(WriteFileAtomically(path("block.bin"), "abc"), std::string());
    QVERIFY(QFile::link(QString::fromStdString(path("block.bin")), QString::fromStdString(path("link.bin"))));
    struct Row { std::string path; const char* reason; };  // reason: a part of it; empty for a good read
    std::vector<Row> rows = {{path("block.bin"), ""}, {path("link.bin"), ""}, {dir.path().toStdString(), "folder"},
                             {path("missing"), "No such file"}};
#if defined(Q_OS_UNIX)
    QCOMPARE(::mkfifo(path("fifo").c_str(), 0600), 0);
    rows.insert(rows.end(), {{path("fifo"), "not a regular file"}, {"/dev/zero", "not a regular file"}});
#endif
    for (const auto& row : rows) {
      std::string data = "stale";
      auto read = std::async(std::launch::async, [&] { return ReadFileCapped(row.path, 100, data); });
      if (read.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
#if defined(Q_OS_UNIX)
        // A writer that comes and goes lets the blocked open and read end.
        ::close(::open(row.path.c_str(), O_WRONLY | O_NONBLOCK));
#endif
        read.wait();
        QFAIL(qPrintable(QString::fromStdString(row.path) + " kept the read waiting"));
      }
      const std::string reason = read.get();
      QVERIFY2(*row.reason == '\0' ? reason.empty() : reason.find(row.reason) != std::string::npos,
               qPrintable(QString::fromStdString(row.path + ": " + reason)));
      QCOMPARE(data, std::string(*row.reason == '\0' ? "abc" : ""));
    }
  }

  // A failed write gives the system's reason and leaves what was there.
  void failedWritesSayWhy() {
#if !defined(Q_OS_UNIX)
    QSKIP("needs FIFOs and a file size limit");
#else
    QTemporaryDir dir;
    const std::string kept = QDir(dir.path()).filePath("kept.txt").toStdString();
    QCOMPARE(WriteFileAtomically(kept, "old"), std::string());
    // A FIFO or a device is written to as it is, never replaced by a file. (No test writes
    // to a real device: broken code would replace it.)
    const std::string fifo = QDir(dir.path()).filePath("fifo").toStdString();
    QCOMPARE(::mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    QVERIFY(reader >= 0);
    QCOMPARE(WriteFileAtomically(fifo, "through"), std::string());
    char got[16] = {};
    const ssize_t n = ::read(reader, got, sizeof got);
    ::close(reader);
    QCOMPARE(std::string(got, static_cast<size_t>(std::max<ssize_t>(n, 0))), std::string("through"));

    // The write to the new file beside the target fails as on a full disk, past the first block.
    rlimit saved{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit small = saved;
    small.rlim_cur = 4096;
    const auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string reason = WriteFileAtomically(kept, std::string(10000, 'n'));
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldSignal);
    QVERIFY2(reason == std::strerror(EFBIG), reason.c_str());
    QCOMPARE(ReadWholeFile(kept), std::string("old"));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::System), QStringList({"fifo", "kept.txt"}));
#endif
  }
};

TAVRIX_TEST_MAIN(QCoreApplication, Make<CommonTest>)

#include "test_common.moc"
