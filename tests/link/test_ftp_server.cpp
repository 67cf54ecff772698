// The FTP client against the simulated demodulator: reads and writes of the two pseudo-files,
// every fault the unit can show (no size, short block, refused request, refused or mute
// connection, stall, drop), the bounded waits and the abort flag, the other operations of
// the class, and its messages.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>


#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "link/ftp_server.h"
#include "link/ftp_text.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kBlock = 8224;
constexpr int kHalfBlock = kBlock / 2;

class RecordingNotices : public Notices {
 public:
  struct Box {
    std::string text, title;
    MessageButtons buttons;
    MessageIcon icon;
  };
  void ShowStatus(const std::string& text, bool) override { statuses.push_back(text); }
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    boxes.push_back({text, title, buttons, icon});
    return MessageAnswer::Ok;
  }
  std::vector<std::string> statuses;
  std::vector<Box> boxes;
};

FtpLimits FastLimits() {
  FtpLimits limits;
  limits.connectTimeoutMs = 1000;
  limits.transferTimeoutMs = 3000;
  limits.stallTimeoutMs = 400;
  limits.releasePauseMs = 0;
  return limits;
}

std::unique_ptr<FTP_Server> Client(const std::string& address, Notices* notices = nullptr,
                                   FtpLimits limits = FastLimits()) {
  auto client = std::make_unique<FTP_Server>(notices, limits);
  client->SetServerName(address);
  client->ConnectToServer();
  return client;
}

// Opens `name`, reads what the server reported as its size, and returns the count read.
int32_t Read(FTP_Server& client, const std::string& name = "spectrum:") {
  client.SetReadFileName(name);
  if (!client.OpenForRead()) return -1;
  int32_t size = client.GetFileSize();
  if (size == -1) size = kBlock;
  return client.ReadFromFile(size);
}

int32_t Write(FTP_Server& client, const std::string& bytes, const std::string& name = "capt_spec:") {
  client.SetWriteFileName(name);
  if (!client.OpenForWrite()) return -1;
  client.SetWriteBuffer(bytes);
  return client.WriteToFile();
}

// The log from the first CONNECT on, with the port numbers of PORT commands left out.
QStringList Session(const SimulatorProcess& sim) {
  QStringList lines = sim.LogLines();
  while (!lines.isEmpty() && lines.first() != "CONNECT") lines.removeFirst();
  for (QString& line : lines)
    if (line.startsWith("PORT ")) line = "PORT";
  return lines;
}

std::string FileBytes(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return "<missing>";
  const QByteArray bytes = file.readAll();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

void WriteBytes(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly));
  file.write(bytes);
}

std::string Local(int port) { return "127.0.0.1:" + std::to_string(port); }

// Variables of the test process set for one scope ("name=value", %1 replaced by `port`),
// and put back as they were when it ends.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const QStringList& assignments, int port) {
    for (const QString& assignment : assignments) {
      const QByteArray name = assignment.section('=', 0, 0).toUtf8();
      saved_.push_back({name, qgetenv(name.constData()), qEnvironmentVariableIsSet(name.constData())});
      const QString value = assignment.section('=', 1);
      qputenv(name.constData(), (value.contains("%1") ? value.arg(port) : value).toUtf8());
    }
  }
  ~ScopedEnvironment() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      if (it->wasSet)
        qputenv(it->name.constData(), it->value);
      else
        qunsetenv(it->name.constData());
    }
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  struct Saved {
    QByteArray name, value;
    bool wasSet;
  };
  std::vector<Saved> saved_;
};

}  // namespace

#define START_SIMULATOR(sim, ...)              \
  SimulatorProcess sim{QStringList{__VA_ARGS__}}; \
  QVERIFY2(sim.Started(), qPrintable("simulator did not start: " + sim.ErrorText()))

class FtpServerTest : public QObject {
  Q_OBJECT

 private slots:
  void readsTheBlockAsServedAndReleasesTheConnection() {
    START_SIMULATOR(sim);
    {
      auto client = Client(sim.Address());
      QVERIFY(client->ConnectedToInternet() && client->IsConnected());
      client->SetReadFileName("spectrum:");
      QVERIFY(client->OpenForRead());
      QVERIFY(!client->CloseFile());  // an open file: the bytes are let go
      QCOMPARE(Read(*client), kBlock);
      QCOMPARE(client->ReadBuffer(), sim.ServedBlock(2));
      QCOMPARE(client->LastErrorText(), std::string());
    }
    QVERIFY(sim.WaitForCount("DISCONNECT", 1));
    const QStringList expected{"CONNECT", "USER anonymous", "PASS ****", "PWD",
                               "SIZE spectrum:", "PORT", "TYPE I", "RETR spectrum:", "SENT 8224 complete",
                               "SIZE spectrum:", "PORT", "RETR spectrum:", "SENT 8224 complete",
                               "QUIT", "DISCONNECT"};
    QCOMPARE(Session(sim), expected);
    QCOMPARE(sim.ErrorText(), QString());
  }

  void captureRequestAndReadsAppendOnOneConnection() {
    START_SIMULATOR(sim);
    auto client = Client(sim.Address());
    QCOMPARE(Read(*client), kBlock);
    QCOMPARE(Write(*client, std::string(1, '\x01')), 1);
    QCOMPARE(Read(*client), kBlock);
    QVERIFY(sim.ServedBlock(1) != sim.ServedBlock(2));
    QCOMPARE(client->ReadBuffer(), sim.ServedBlock(1) + sim.ServedBlock(2));
    const QStringList session = Session(sim);
    const qsizetype stor = session.indexOf("STOR capt_spec:");
    QCOMPARE(session.mid(stor - 1, 4), (QStringList{"PORT", "STOR capt_spec:", "RECEIVED 1 complete", "CAPTURE 1"}));
    QCOMPARE(sim.Count("CONNECT"), 1);
  }

  void refusedWritesReturnZero_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reply");
    QTest::newRow("request rejected") << QStringList{"--reject-capture"} << "capt_spec:" << QByteArray("\x01")
                                      << "550 Capture request rejected.";
    QTest::newRow("not the byte 1") << QStringList{} << "capt_spec:" << QByteArray("\x02")
                                    << "550 Capture request must be the single byte 1.";
    QTest::newRow("read-only file") << QStringList{} << "spectrum:" << QByteArray("\x01")
                                    << "550 Permission denied.";
  }

  void refusedWritesReturnZero() {
    QFETCH(QStringList, options);
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reply);
    START_SIMULATOR(sim, options);
    RecordingNotices notices;
    auto client = Client(sim.Address(), &notices);
    QCOMPARE(Write(*client, bytes.toStdString(), name.toStdString()), 0);
    QCOMPARE(QString::fromStdString(client->LastErrorText()), "refused: " + reply);
    QCOMPARE(sim.Count("CAPTURE 1"), 0);
    client->ShowLastResponseInfo();
    QCOMPARE(notices.boxes.size(), size_t(1));
    QCOMPARE(QString::fromStdString(notices.boxes[0].text), reply + "\r\n");
    QCOMPARE(notices.boxes[0].title, std::string("FPT Error 550"));
    QCOMPARE(Read(*client), kBlock);  // a refusal leaves the connection as it was
    QCOMPARE(sim.Count("CONNECT"), 1);
  }

  void blocksOfOtherSizes_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("reported");
    QTest::addColumn<int>("length");
    QTest::newRow("SIZE refused, 550") << QStringList{"--no-size", "550"} << -1 << kBlock;
    QTest::newRow("SIZE unknown, 502") << QStringList{"--no-size", "502"} << -1 << kBlock;
    QTest::newRow("short block") << QStringList{"--short-block", "100"} << 100 << 100;
    QTest::newRow("empty block") << QStringList{"--short-block", "0"} << 0 << 0;
  }

  void blocksOfOtherSizes() {
    QFETCH(QStringList, options);
    QFETCH(int, reported);
    QFETCH(int, length);
    START_SIMULATOR(sim, options);
    auto client = Client(sim.Address());
    client->SetReadFileName("spectrum:");
    QVERIFY(client->OpenForRead());
    QCOMPARE(client->GetFileSize(), reported);
    int32_t size = kBlock;
    QCOMPARE(client->ReadFromFile(size), length);
    QCOMPARE(client->ReadBuffer(), sim.ServedBlock(1));
  }

  void transferCutShortKeepsTheBytesThatArrived_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<long>("stallMs");
    QTest::addColumn<long>("transferMs");
    QTest::addColumn<QString>("why");
    QTest::newRow("stall") << QStringList{"--stall-transfer", "30"} << 400L << 20000L << "transfer stalled";
    QTest::newRow("stall past the transfer time-out") << QStringList{"--stall-transfer", "30"} << 20000L << 800L
                                                      << "timed out";
    QTest::newRow("dropped connection") << QStringList{"--drop-mid-transfer"} << 400L << 3000L << "connection dropped";
  }

  void transferCutShortKeepsTheBytesThatArrived() {
    QFETCH(QStringList, options);
    QFETCH(long, stallMs);
    QFETCH(long, transferMs);
    QFETCH(QString, why);
    START_SIMULATOR(sim, options);
    FtpLimits limits = FastLimits();
    limits.stallTimeoutMs = stallMs;
    limits.transferTimeoutMs = transferMs;
    auto client = Client(sim.Address(), nullptr, limits);
    client->SetReadFileName("spectrum:");
    QVERIFY(client->OpenForRead());
    QCOMPARE(QString::fromStdString(client->LastErrorText()), why);
    QCOMPARE(client->GetFileSize(), kBlock);
    int32_t size = kBlock;
    QCOMPARE(client->ReadFromFile(size), kHalfBlock);
    QCOMPARE(client->ReadBuffer(), sim.ServedBlock(1).substr(0, kHalfBlock));
    // The connection went with the transfer; the client does not log in again by itself.
    QCOMPARE(Read(*client), -1);
    QCOMPARE(client->LastErrorText(), std::string("connection closed"));
    QVERIFY(client->IsConnected());
    QCOMPARE(sim.Count("CONNECT"), 1);
  }

  void readStopsAtTheLimit() {
    START_SIMULATOR(sim);
    FtpLimits limits = FastLimits();
    limits.maxReadBytes = 1000;
    auto client = Client(sim.Address(), nullptr, limits);
    QCOMPARE(Read(*client), 1000);
    QCOMPARE(client->ReadBuffer(), sim.ServedBlock(1).substr(0, 1000));
  }

  void fileHandleStates() {
    START_SIMULATOR(sim);
    auto client = Client(sim.Address());
    QVERIFY(client->CloseFile());
    int32_t size = kBlock;
    for (const std::string& name : {std::string("nothing"), std::string(), std::string("\0spectrum:", 10)}) {
      client->SetReadFileName(name);
      QVERIFY(!client->OpenForRead());
      QCOMPARE(client->GetFileSize(), -1);
      QCOMPARE(client->ReadFromFile(size), 0);
      QVERIFY(client->CloseFile());  // a failed open leaves no file handle
    }
    QCOMPARE(sim.Count("RETR", true), 1);  // only "nothing" went to the server

    client->SetWriteBuffer(std::string(1, '\x01'));
    QCOMPARE(client->WriteToFile(), 0);
    client->SetReadFileName("spectrum:");
    QVERIFY(client->OpenForRead());
    QCOMPARE(client->WriteToFile(), 0);  // a file open for reading takes no bytes, and closes
    QCOMPARE(client->ReadFromFile(size), 0);
    QVERIFY(!client->CloseFile());  // a closed handle keeps its value
    client->SetWriteFileName("capt_spec:");
    QVERIFY(client->OpenForWrite());
    QVERIFY(!client->CloseFile());
    QCOMPARE(client->WriteToFile(), 0);
    QCOMPARE(sim.Count("STOR", true), 0);
    QCOMPARE(client->ReadBuffer(), std::string());
  }

  void unreachableUnitLeavesTheClientUnconnected_data() {
    QTest::addColumn<bool>("listening");
    QTest::newRow("connection refused") << true;
    QTest::newRow("nothing listening") << false;
  }

  void unreachableUnitLeavesTheClientUnconnected() {
    QFETCH(bool, listening);
    START_SIMULATOR(sim, "--refuse-after", "0");
    RecordingNotices notices;
    auto client = Client(listening ? sim.Address() : Local(FreePort()), &notices);
    QVERIFY(client->ConnectedToInternet());
    QVERIFY(!client->IsConnected());
    QCOMPARE(client->LastErrorText(), std::string("connection refused"));
    QCOMPARE(Read(*client), -1);
    QCOMPARE(Write(*client, std::string(1, '\x01')), -1);
    QCOMPARE(client->GetCurrentDirectory(), std::string());
    client->SetDeleteFileName("spectrum:");
    QVERIFY(!client->DeleteFile());
    QCOMPARE(client->FindFirstFile(), 0u);
    client->ShowLastResponseInfo();
    QCOMPARE(notices.boxes.size(), size_t(1));
    QCOMPARE(notices.boxes[0].text, std::string("Last response information could not be read!"));
    QCOMPARE(notices.boxes[0].title, std::string("FTP"));
    QCOMPARE(sim.Count("CONNECT"), 0);
  }

  void laterConnectionRefused() {
    START_SIMULATOR(sim, "--refuse-after", "1");
    auto first = Client(sim.Address());
    QVERIFY(first->IsConnected());
    QVERIFY(!Client(sim.Address())->IsConnected());
    QCOMPARE(Read(*first), kBlock);  // the open session goes on
    first->ConnectToServer();        // a new login closes it, and is refused
    QVERIFY(!first->IsConnected());
    QCOMPARE(Read(*first), -1);
  }

  void portFollowsTheAddress_data() {
    QTest::addColumn<QString>("pattern");  // %1 is the simulator's port
    QTest::addColumn<QStringList>("environment");  // %1 is a port where nothing listens
    QTest::addColumn<bool>("reaches");
    QTest::newRow("dotted") << "127.0.0.1:%1" << QStringList{} << true;
    QTest::newRow("name") << "localhost:%1" << QStringList{} << true;
    QTest::newRow("port 0") << "127.0.0.1:0" << QStringList{} << false;
    QTest::newRow("port 65536") << "127.0.0.1:65536" << QStringList{} << false;
    QTest::newRow("empty port") << "127.0.0.1:" << QStringList{} << false;
    QTest::newRow("trailing letters") << "127.0.0.1:%1x" << QStringList{} << false;
    QTest::newRow("all_proxy set") << "127.0.0.1:%1" << QStringList{"all_proxy=socks5://127.0.0.1:%1"} << true;
    QTest::newRow("ftp_proxy set") << "localhost:%1"
                                   << QStringList{"ftp_proxy=http://127.0.0.1:%1", "no_proxy=example.com"} << true;
  }

  void portFollowsTheAddress() {
    QFETCH(QString, pattern);
    QFETCH(QStringList, environment);
    QFETCH(bool, reaches);
    START_SIMULATOR(sim);
    ScopedEnvironment proxies(environment, FreePort());
    const QString address = pattern.contains("%1") ? pattern.arg(sim.Port()) : pattern;
    auto client = Client(address.toStdString());
    QCOMPARE(client->IsConnected(), reaches);
    QCOMPARE(Read(*client), reaches ? kBlock : -1);
    QCOMPARE(sim.Count("CONNECT"), reaches ? 1 : 0);
  }

  void muteUnitIsGivenUpOnTimeOrOnAbort() {
    MuteListener mute;  // no greeting ever comes
    QVERIFY(mute.Port() != 0);
    const std::string address = Local(mute.Port());
    FtpLimits limits = FastLimits();
    limits.connectTimeoutMs = 300;
    QVERIFY(!Client(address, nullptr, limits)->IsConnected());

    // With long time-outs, only the abort flag can end the wait early.
    std::atomic<bool> abort{false};
    limits.connectTimeoutMs = limits.transferTimeoutMs = 30000;
    limits.abort = &abort;
    std::thread operatorKey([&abort] {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      abort = true;
    });
    auto client = Client(address, nullptr, limits);
    operatorKey.join();
    QVERIFY(!client->IsConnected());
    QCOMPARE(client->LastErrorText(), std::string("aborted"));
  }

  void abortFlagEndsATransfer() {
    START_SIMULATOR(sim, "--stall-transfer", "30");
    std::atomic<bool> abort{false};
    FtpLimits limits = FastLimits();
    limits.stallTimeoutMs = limits.transferTimeoutMs = 30000;
    limits.abort = &abort;
    auto client = Client(sim.Address(), nullptr, limits);
    QVERIFY(client->IsConnected());
    std::thread operatorKey([&sim, &abort] {
      sim.WaitForCount("STALL 30", 1);
      abort = true;
    });
    const int32_t n = Read(*client);
    operatorKey.join();
    QCOMPARE(n, kHalfBlock);
    QCOMPARE(client->LastErrorText(), std::string("aborted"));
    // While the flag stays set not even a login starts.
    QVERIFY(!Client(sim.Address(), nullptr, limits)->IsConnected());
    QCOMPARE(sim.Count("CONNECT"), 1);
  }

  void namesWithATrailingZero() {
    FTP_Server names(nullptr, FastLimits());
    const std::string withZero("abc\0", 4);
    for (const std::string& given : {std::string("abc"), withZero}) {
      names.SetDeleteFileName(given);
      names.SetDownloadFileName(given);
      names.SetNewUpLoadFileName(given);
      QCOMPARE(names.DeleteFileName(), withZero);
      QCOMPARE(names.DownloadFileName(), withZero);
      QCOMPARE(names.NewUpLoadFileName(), withZero);
    }

    // The zero never reaches the server.
    START_SIMULATOR(sim);
    QTemporaryDir dir;
    auto client = Client(sim.Address());
    client->SetDeleteFileName("spectrum:");
    QVERIFY(!client->DeleteFile());  // the unit deletes nothing
    const QString local = dir.filePath("block.bin");
    client->SetDownloadFileName("spectrum:");
    client->SetNewDownLoadFileName(local.toStdString());
    QVERIFY(client->DownLoadFile());
    QCOMPARE(FileBytes(local), sim.ServedBlock(1));
    const QString request = dir.filePath("request.bin");
    WriteBytes(request, QByteArray("\x01"));
    client->SetUpLoadFileName(request.toStdString());
    client->SetNewUpLoadFileName("capt_spec:");
    QVERIFY(client->UploadFile());
    QCOMPARE(sim.Count("DELE spectrum:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("CAPTURE 1"), 1);
  }

  void downloadKeepsOrReplacesTheLocalFile() {
    START_SIMULATOR(sim);
    QTemporaryDir dir;
    const QString local = dir.filePath("block.bin");
    WriteBytes(local, "keep");
    auto client = Client(sim.Address());
    client->SetDownloadFileName("spectrum:");
    client->SetNewDownLoadFileName(local.toStdString());
    client->SetFailIfExists(true);
    QVERIFY(!client->DownLoadFile());
    QCOMPARE(FileBytes(local), std::string("keep"));
    QCOMPARE(sim.Count("RETR", true), 0);
    client->SetFailIfExists(false);
    QVERIFY(client->DownLoadFile());
    QCOMPARE(FileBytes(local), sim.ServedBlock(1));

    const QString missing = dir.filePath("missing.bin");
    client->SetDownloadFileName("nothing");
    client->SetNewDownLoadFileName(missing.toStdString());
    QVERIFY(!client->DownLoadFile());
    QVERIFY(!QFile::exists(missing));  // no partial file stays
    client->SetUpLoadFileName(missing.toStdString());
    QVERIFY(!client->UploadFile());
    QCOMPARE(sim.Count("STOR", true), 0);
  }

  void findListsTheMatchingNames() {
    START_SIMULATOR(sim);
    RecordingNotices notices;
    auto client = Client(sim.Address(), &notices);
    QVERIFY(!client->FindNextFile());  // no find yet: silent
    client->SetFindFileName("*");
    const uint32_t first = client->FindFirstFile();
    QVERIFY(first != 0);
    QCOMPARE(client->FoundFileName(), std::string("capt_spec:"));
    QVERIFY(client->FindNextFile());
    QCOMPARE(client->FoundFileName(), std::string("spectrum:"));
    QVERIFY(notices.boxes.empty());
    QVERIFY(!client->FindNextFile());
    QCOMPARE(notices.boxes.size(), size_t(1));
    QCOMPARE(notices.boxes[0].text, std::string("No More Files!"));
    QCOMPARE(notices.boxes[0].title, std::string("FTP"));
    QVERIFY(notices.boxes[0].buttons == MessageButtons::Ok && notices.boxes[0].icon == MessageIcon::Information);

    client->SetFindFileName("sp?ctrum*");
    const uint32_t second = client->FindFirstFile();
    QVERIFY(second != 0 && second != first);
    QCOMPARE(client->FoundFileName(), std::string("spectrum:"));
    QVERIFY(!client->FindNextFile());
    QCOMPARE(notices.boxes.size(), size_t(2));

    // Nothing found: no handle, no name, and the connection closed.
    client->SetFindFileName("*.bin");
    QCOMPARE(client->FindFirstFile(), 0u);
    QCOMPARE(client->FoundFileName(), std::string());
    QVERIFY(!client->FindNextFile());
    QCOMPARE(notices.boxes.size(), size_t(2));
    QVERIFY(sim.WaitForCount("QUIT", 1));
    QCOMPARE(Read(*client), -1);
    client->ConnectToServer();
    QCOMPARE(Read(*client), kBlock);
  }

  void currentDirectory() {
    START_SIMULATOR(sim);
    RecordingNotices notices;
    auto client = Client(sim.Address(), &notices);
    QCOMPARE(client->GetCurrentDirectory(), std::string("/"));
    client->SetDirectoryName("/");
    QVERIFY(client->SetCurrentDirectory());
    client->SetDirectoryName("elsewhere");
    QVERIFY(!client->SetCurrentDirectory());
    client->ShowLastResponseInfo();
    QCOMPARE(notices.boxes.back().title, std::string("FPT Error 550"));
    QCOMPARE(client->GetCurrentDirectory(), std::string("/"));  // still connected
    client->SetDirectoryName("/\r\nDELE spectrum:");           // one argument, never two commands
    QVERIFY(!client->SetCurrentDirectory());
    QCOMPARE(sim.Count("CWD elsewhere"), 1);
    QCOMPARE(sim.Count("DELE", true), 0);
    QCOMPARE(sim.Count("CONNECT"), 1);
  }

  void lastResponseInfoShowsTheServersLastReply() {
    START_SIMULATOR(sim);
    RecordingNotices notices;
    FTP_Server client(&notices, FastLimits());
    client.ShowLastResponseInfo();
    client.SetServerName(sim.Address());
    client.ConnectToServer();
    client.ShowLastResponseInfo();
    QCOMPARE(Read(client), kBlock);
    client.ShowLastResponseInfo();
    QCOMPARE(Read(client, "nothing"), -1);
    client.ShowLastResponseInfo();

    QCOMPARE(notices.boxes.size(), size_t(4));
    QCOMPARE(notices.boxes[0].text, std::string("Last response information could not be read!"));
    QCOMPARE(notices.boxes[0].title, std::string("FTP"));
    QCOMPARE(notices.boxes[1].text, std::string("257 \"/\" is the current directory.\r\n"));
    QCOMPARE(notices.boxes[1].title, std::string("FPT"));
    QCOMPARE(notices.boxes[2].text, std::string("226 Transfer complete.\r\n"));
    QCOMPARE(notices.boxes[2].title, std::string("FPT"));
    QCOMPARE(notices.boxes[3].text, std::string("550 No such file.\r\n"));
    QCOMPARE(notices.boxes[3].title, std::string("FPT Error 550"));
    for (const auto& box : notices.boxes) QVERIFY(box.buttons == MessageButtons::Ok && box.icon == MessageIcon::Information);
  }

  void repliesAndNamesAsText() {
    ftp::ReplyLog log;
    log.AddLine("Content-Length: 12\r\n");  // not a reply
    log.AddLine("230-Welcome\r\n");
    log.AddLine("231 another code is text\r\n");
    QVERIFY(!log.AnyReply());
    log.AddLine("230 Logged in.\r\n");
    QCOMPARE(log.LastCode(), 230);
    QCOMPARE(log.LastReply(), std::string("230-Welcome\r\n231 another code is text\r\n230 Logged in.\r\n"));

    QCOMPARE(ftp::ReportedSize("213 4294967297\r\n").value_or(-1), 4294967297LL);
    QVERIFY(!ftp::ReportedSize("213 12 bytes\r\n"));
    QCOMPARE(ftp::QuotedDirectory("257 \"/a \"\"b\"\"\" is current.\r\n").value_or("-"), std::string("/a \"b\""));
    // Characters libcurl would take as URL syntax reach the server as part of the name.
    QCOMPARE(ftp::RequestUrl({"10.0.0.5", 2121}, "a b%#?;type=a"),
             std::string("ftp://10.0.0.5:2121/a%20b%25%23%3F%3Btype%3Da"));
    QVERIFY(ftp::MatchesPattern("aab", "*a*b") && !ftp::MatchesPattern("abc", "*b"));
  }
};

std::unique_ptr<QObject> NewFtpServerTest() { return std::make_unique<FtpServerTest>(); }

#include "test_ftp_server.moc"
