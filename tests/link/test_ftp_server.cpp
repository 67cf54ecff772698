// The FTP client against the simulated unit: reads and the capture request on one connection,
// every fault of the unit, the network or the operator, the other operations, the text helpers.
#include <QtTest>  // with the whole of Qt Core

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <tuple>

#include "link/ftp_server.h"
#include "link/ftp_text.h"
#include "link/link_side.h"
#include "link/server_address.h"
#include "link/loopback_peers.h"
#include "link/recording_notices.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kBlock = 8224, kHalfBlock = kBlock / 2;
const FtpLimits kFast{.connectTimeoutMs = 1000, .transferTimeoutMs = 3000, .stallTimeoutMs = 400, .releasePauseMs = 0};

std::unique_ptr<FTP_Server> Client(const std::string& address, Notices* notices = nullptr, FtpLimits limits = kFast) {
  auto client = std::make_unique<FTP_Server>(notices, limits);
  client->SetServerName(address);
  client->ConnectToServer();
  return client;
}

// Reads "spectrum:" for the size the server reported (8224 when none): the count, or -1.
int32_t Read(FTP_Server& client) {
  client.SetReadFileName("spectrum:");
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

// A fault and what the client then says: a failed connection, a refused write, or a read of
// "spectrum:" short of a whole block with its size. In the texts {sim} is the simulator's
// port, {mute} one that never answers, {free} one where nothing listens, {address} the unit's.
constexpr int kNoAbort = -1, kWhenStalled = -2;
struct Fault {
  const char* name = "";
  const char* address = "127.0.0.1:{sim}";
  QStringList options = {};      // of the simulator
  QStringList environment = {};  // of the test process
  int stallMs = 0, transferMs = 0, maxRead = 0;  // 0: as in kFast
  int abortMs = kNoAbort;   // the operator's flag: 0 set before, or after so many ms, or kWhenStalled
  bool relogin = false;     // logged in once more after the first login
  bool connects = true;
  const char* file = "capt_spec:";
  const char* write = nullptr;  // bytes written to `file` instead of a read of "spectrum:"
  const char* why = "";         // LastErrorText after the connection, read or write; empty when complete
  int reported = kBlock, length = kBlock;
};
const QStringList kStall{"--stall-transfer", "30"};
const Fault kFaults[] = {
    {.name = "dotted address"},
    {.name = "host name", .address = "localhost:{sim}"},
    {.name = "all_proxy set", .environment = {"all_proxy=socks5://127.0.0.1:{free}"}},
    {.name = "ftp_proxy set", .address = "localhost:{sim}",
     .environment = {"ftp_proxy=http://127.0.0.1:{free}", "ALL_PROXY=http://127.0.0.1:{free}", "no_proxy=example.com"}},
    {.name = "port 65536", .address = "127.0.0.1:65536", .connects = false,
     .why = "not an address[:port]: \"{address}\""},
    {.name = "escape in the address", .address = "127.0.0.1\x1b[2J", .connects = false,
     .why = "not an address[:port]: \"127.0.0.1\\x1b[2J\""},
    {.name = "refused", .options = {"--refuse-after", "0"}, .connects = false, .why = "connection refused"},
    // A new login closes the session, and is refused.
    {.name = "later login refused", .options = {"--refuse-after", "1"}, .relogin = true, .connects = false,
     .why = "connection refused"},
    {.name = "nothing listening", .address = "127.0.0.1:{free}", .connects = false, .why = "connection refused"},
    {.name = "mute, time-out", .address = "127.0.0.1:{mute}", .connects = false, .why = "timed out"},
    {.name = "mute, abort", .address = "127.0.0.1:{mute}", .abortMs = 200, .connects = false, .why = "aborted"},
    {.name = "abort flag already set", .abortMs = 0, .connects = false, .why = "aborted"},
    {.name = "request rejected", .options = {"--reject-capture"}, .write = "\x01",
     .why = "refused: 550 Capture request rejected."},
    {.name = "request not the byte 1", .write = "\x02",
     .why = "refused: 550 Capture request must be the single byte 1."},
    {.name = "read-only file", .file = "spectrum:", .write = "\x01", .why = "refused: 550 Permission denied."},
    // A reply is shown with its control bytes and stray bytes escaped.
    {.name = "terminal sequences in a reply",
     .options = {"--reject-text", R"(\x1b]0;title\x07\x1b[31mred\x08\x00\xff\xfe \xc2\x9b2J \xc3\xa9t\xc3\xa9)"},
     .write = "\x01",
     .why = R"(refused: 550 \x1b]0;title\x07\x1b[31mred\x08\x00\xff\xfe \xc2\x9b2J été)"},
    // Only the unit may deliver the data, not another host that reaches the port first.
    {.name = "data from another address", .options = {"--forge-data-from", "127.0.0.2"},
     .why = "data connection from 127.0.0.2 refused"},
    {.name = "data from the unit's address", .options = {"--forge-data-from", "127.0.0.1"}},
    {.name = "SIZE refused, 550", .options = {"--no-size", "550"}, .reported = -1},
    {.name = "short block", .options = {"--short-block", "100"}, .reported = 100, .length = 100},
    {.name = "empty block", .options = {"--short-block", "0"}, .reported = 0, .length = 0},
    {.name = "read limit", .maxRead = 1000, .why = "read limit reached", .length = 1000},
    {.name = "stall", .options = kStall, .why = "transfer stalled", .length = kHalfBlock},
    {.name = "stall past the time-out", .options = kStall, .stallMs = 20000, .transferMs = 800, .why = "timed out",
     .length = kHalfBlock},
    {.name = "dropped", .options = {"--drop-mid-transfer"}, .why = "connection dropped", .length = kHalfBlock},
    {.name = "abort flag", .options = kStall, .abortMs = kWhenStalled, .why = "aborted", .length = kHalfBlock},
};

}  // namespace

class FtpServerTest : public QObject {
  Q_OBJECT

 private slots:
  void readsAndTheCaptureRequestShareOneConnection() {
    START_SIMULATOR(sim);
    {
      auto client = Client(sim.Address());
      QVERIFY(client->ConnectedToInternet() && client->IsConnected());
      client->SetReadFileName("spectrum:");
      QVERIFY(client->OpenForRead());
      QVERIFY(!client->CloseFile());  // an open file: its bytes are let go
      QCOMPARE(Read(*client), kBlock);
      QCOMPARE(Write(*client, std::string(1, '\x01')), 1);
      QCOMPARE(Read(*client), kBlock);
      QVERIFY(sim.ServedBlock(2) != sim.ServedBlock(3));
      QCOMPARE(client->ReadBuffer(), sim.ServedBlock(2) + sim.ServedBlock(3));  // reads append
      QCOMPARE(client->LastErrorText(), std::string());
    }
    QVERIFY(sim.WaitForCount("DISCONNECT", 1));
    const QString session = sim.LogLines().join('|').replace(QRegularExpression("PORT [^|]*"), "PORT");  // ports vary
    QCOMPARE(session.mid(session.indexOf("CONNECT")),
             "CONNECT|USER anonymous|PASS ****|PWD|SIZE spectrum:|PORT|TYPE I|RETR spectrum:|SENT 8224 complete|"
             "SIZE spectrum:|PORT|RETR spectrum:|SENT 8224 complete|PORT|STOR capt_spec:|RECEIVED 1 complete|"
             "CAPTURE 1|SIZE spectrum:|PORT|RETR spectrum:|SENT 8224 complete|QUIT|DISCONNECT");
    QCOMPARE(sim.ErrorText(), QString());
  }

  void faults_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < std::size(kFaults); ++i) QTest::newRow(kFaults[i].name) << int(i);
  }

  void faults() {
    QFETCH(int, row);
    const Fault& f = kFaults[row];
    START_SIMULATOR(sim, f.options);
    MuteListener mute;
    const int freePort = FreePort();
    auto fill = [&](QString text) {
      return text.replace("{address}", f.address).replace("{sim}", QString::number(sim.Port()))
          .replace("{mute}", QString::number(mute.Port())).replace("{free}", QString::number(freePort));
    };
    // Proxies in the environment, for this row only.
    for (const QString& assignment : f.environment)
      qputenv(qPrintable(assignment.section('=', 0, 0)), fill(assignment.section('=', 1)).toUtf8());
    const auto unset = qScopeGuard([&] {
      for (const QString& assignment : f.environment) qunsetenv(qPrintable(assignment.section('=', 0, 0)));
    });
    FtpLimits limits = kFast;
    if (f.stallMs != 0) limits.stallTimeoutMs = f.stallMs;
    if (f.transferMs != 0) limits.transferTimeoutMs = f.transferMs;
    if (f.maxRead != 0) limits.maxReadBytes = static_cast<size_t>(f.maxRead);
    std::atomic<bool> abort{f.abortMs == 0};
    if (f.abortMs != kNoAbort) {
      limits.connectTimeoutMs = limits.transferTimeoutMs = limits.stallTimeoutMs = 30000;  // only the flag ends a wait
      limits.abort = &abort;
    }
    RecordingNotices notices;
    std::unique_ptr<FTP_Server> client;
    bool opened = false;
    {
      std::jthread operatorKey([&] {
        if (f.abortMs == kWhenStalled) sim.WaitForCount("STALL 30", 1);
        if (f.abortMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(f.abortMs));
        if (f.abortMs != kNoAbort) abort = true;
      });
      client = Client(fill(f.address).toStdString(), &notices, limits);
      if (f.relogin) client->ConnectToServer();
      client->SetReadFileName("spectrum:");
      if (client->IsConnected() && f.write == nullptr) opened = client->OpenForRead();  // the retrieval
    }
    const int32_t written = client->IsConnected() && f.write != nullptr ? Write(*client, f.write, f.file) : -1;
    const std::string why = fill(f.why).toStdString();
    QCOMPARE(client->LastErrorText(), why);
    QCOMPARE(client->IsConnected(), f.connects);
    QCOMPARE(sim.Count("CONNECT"), f.connects || f.relogin ? 1 : 0);
    client->ShowLastResponseInfo();
    if (f.connects && f.write != nullptr) {
      QCOMPARE(written, 0);
      QCOMPARE(sim.Count("CAPTURE 1"), 0);
      QCOMPARE(notices.Shown(), "FPT Error 550|" + why.substr(std::string("refused: ").size()) + "\r\n");
      QCOMPARE(Read(*client), kBlock);  // a refusal leaves the connection as it was
    } else if (f.connects && why.starts_with("data connection")) {  // the read of "spectrum:" got none
      QVERIFY(!opened);
      QCOMPARE(client->GetFileSize(), -1);
      // A forged connection may get its bytes out before it is refused; the client never
      // takes them. A refused retrieval sends nothing at all.
      if (sim.Count("FORGED", true) == 0) QCOMPARE(sim.Count("SENT", true), 0);
    } else if (f.connects) {
      QVERIFY(opened);
      QCOMPARE(client->GetFileSize(), f.reported);
      int32_t size = kBlock;
      QCOMPARE(client->ReadFromFile(size), f.length);
      QCOMPARE(client->ReadBuffer(), sim.ServedBlock(1).substr(0, static_cast<size_t>(f.length)));
      // A transfer cut short takes its connection along, and the client never logs in again by itself.
      QCOMPARE(Read(*client), why.empty() ? f.length : -1);
      if (!why.empty()) QCOMPARE(client->LastErrorText(), std::string(why == "aborted" ? why : "connection closed"));
    } else {
      // Unconnected, every operation fails, and there is no server reply to show but an earlier session's.
      client->SetDeleteFileName("spectrum:");
      QVERIFY(Read(*client) == -1 && Write(*client, std::string(1, '\x01')) == -1 && !client->DeleteFile());
      QVERIFY(client->GetCurrentDirectory().empty() && client->FindFirstFile() == 0);
      if (!f.relogin) QCOMPARE(notices.Shown(), std::string("FTP|Last response information could not be read!"));
    }
  }

  // File handles, the directory and the server's last reply, local files and the find, one
  // after the other on one connection.
  void otherOperations() {
    START_SIMULATOR(sim);
    RecordingNotices notices;
    auto client = Client(sim.Address(), &notices);
    int32_t size = kBlock;
    // A failed open leaves no file handle: CloseFile is true only without one.
    for (const std::string& name : {std::string("nothing"), std::string(), std::string("\0spectrum:", 10)}) {
      client->SetReadFileName(name);
      QVERIFY(client->CloseFile() && !client->OpenForRead() && client->CloseFile());
      QVERIFY(client->GetFileSize() == -1 && client->ReadFromFile(size) == 0);
    }
    QCOMPARE(sim.Count("RETR", true), 1);  // only "nothing" went to the server
    client->SetWriteBuffer(std::string(1, '\x01'));
    client->SetReadFileName("spectrum:");
    // Nothing open takes no bytes; a file open for reading takes none and closes; the closed
    // handle keeps its value. A file opened for writing and closed takes no bytes either.
    QVERIFY(client->WriteToFile() == 0 && client->OpenForRead() && client->WriteToFile() == 0);
    QVERIFY(client->ReadFromFile(size) == 0 && !client->CloseFile());
    client->SetWriteFileName("capt_spec:");
    QVERIFY(client->OpenForWrite() && !client->CloseFile() && client->WriteToFile() == 0);
    QVERIFY(sim.Count("STOR", true) == 0 && client->ReadBuffer().empty());

    // The last reply goes under "FPT" when it was a success, with " Error n" for a refusal.
    const auto cwd = [&](const char* name) { return client->SetDirectoryName(name), client->SetCurrentDirectory(); };
    const auto shown = [&](bool done) { return client->ShowLastResponseInfo(), done; };
    QVERIFY(shown(client->GetCurrentDirectory() == "/") && shown(!cwd("elsewhere")));
    QVERIFY(client->GetCurrentDirectory() == "/" && cwd("/") && shown(Read(*client) == kBlock));  // still connected
    QVERIFY(!cwd("/\r\nDELE spectrum:"));  // one argument, never two commands
    QVERIFY(sim.Count("CWD elsewhere") == 1 && sim.Count("DELE", true) == 0);
    QCOMPARE(notices.Shown(), std::string("FPT|257 \"/\" is the current directory.\r\n\nFPT Error 550|550 No such "
                                          "directory.\r\n\nFPT|226 Transfer complete.\r\n"));

    // The unit deletes nothing; a local file is kept or replaced as asked.
    QTemporaryDir dir;
    const std::string local = dir.filePath("block.bin").toStdString(), missing = dir.filePath("none").toStdString(),
                      request = dir.filePath("request.bin").toStdString();
    auto download = [&](const char* remote, const std::string& to, bool failIfExists) {
      client->SetDownloadFileName(remote), client->SetNewDownLoadFileName(to), client->SetFailIfExists(failIfExists);
      return client->DownLoadFile();
    };
    auto upload = [&](const std::string& from) { return client->SetUpLoadFileName(from), client->UploadFile(); };
    client->SetDeleteFileName("spectrum:");
    std::ofstream(local) << "keep";
    std::ofstream(request) << '\x01';
    client->SetNewUpLoadFileName("capt_spec:");
    QVERIFY(!client->DeleteFile() && !download("spectrum:", local, true));
    QVERIFY(ReadWholeFile(local) == "keep" && sim.Count("RETR", true) == 3);
    QVERIFY(download("spectrum:", local, false) && ReadWholeFile(local) == sim.ServedBlock(3));
    QVERIFY(!download("nothing", missing, false) && !QFile::exists(QString::fromStdString(missing)));  // nothing kept
    QVERIFY(!upload(missing) && upload(request));
    QCOMPARE(QList<int>({sim.Count("DELE spectrum:"), sim.Count("STOR", true), sim.Count("CAPTURE 1"),
                         sim.Count("CONNECT")}), QList<int>({1, 1, 1, 1}));

    // The find lists the matching names and tells its end once; nothing found: no handle,
    // no name, no notice, and the connection closed.
    auto find = [&](const std::string& pattern, uint32_t& handle) {
      client->SetFindFileName(pattern), handle = client->FindFirstFile();
      std::string names = client->FoundFileName();
      while (client->FindNextFile()) names.append(",").append(client->FoundFileName());
      return names;
    };
    notices.boxes.clear();
    uint32_t first = 0, second = 0, none = 1;
    QVERIFY(!client->FindNextFile());  // no find yet: silent
    QVERIFY(find("*", first) == "capt_spec:,spectrum:" && find("sp?ctrum*", second) == "spectrum:");
    QVERIFY(find("*.bin", none).empty() && first != 0 && second != 0 && second != first && none == 0);
    QCOMPARE(notices.Shown(), std::string("FTP|No More Files!\nFTP|No More Files!"));
    QVERIFY(sim.WaitForCount("QUIT", 1) && Read(*client) == -1);
    client->ConnectToServer();
    QCOMPARE(Read(*client), kBlock);
  }

  void repliesNamesAndAddressesAsText() {
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
    QCOMPARE(ftp::RequestUrl({"fe80::2", 2121}, "spectrum:"), std::string("ftp://[fe80::2]:2121/spectrum:"));
    QVERIFY(ftp::MatchesPattern("aab", "*a*b") && !ftp::MatchesPattern("abc", "*b"));

    // Accepted as "host port"; every other text is refused.
    for (const char* row : {"10.0.0.5=10.0.0.5 21", "unit-3.local:2121=unit-3.local 2121", "[::1]=::1 21",
                            "[::1]:2121=::1 2121", "[fe80::2:3]:65535=fe80::2:3 65535",
                            "[1:2:3:4:5:6:7:8]=1:2:3:4:5:6:7:8 21", "[::ffff:10.0.0.5]=::ffff:10.0.0.5 21",
                            "[2001:db8::]:21=2001:db8:: 21", "::1", "[::1", "[::1]x", "[::1]:", "[::1]:0", "[]",
                            "[1:2:3:4:5:6:7:8:9]", "[1::2::3]", "[12345::]", "[fe80::1%eth0]", "[::ffff:10.0.0.256]",
                            "[1:2:3:4:5:6:7]", "[:1::]", "[unit.local]", "10.0.0.5:65536", "host:21:21", "10.0.0.5:0", "10.0.0.5:",
                            "10.0.0.5:21x"}) {
      const std::string text(row);
      const std::optional<ServerAddress> address = ParseServerAddress(text.substr(0, text.find('=')));
      const std::string parsed = address ? address->Host + " " + std::to_string(address->Port) : "";
      QCOMPARE(parsed, text.find('=') == std::string::npos ? "" : text.substr(text.find('=') + 1));
    }

    // A read falls short of a whole capture when it was cut or holds less than the unit said.
    using Row = std::tuple<int, size_t, const char*, const char*>;
    for (const auto& [reported, length, cut, shortfall] : std::initializer_list<Row>{
             {8224, 8224, "", ""}, {-1, 100, "", ""}, {0, 0, "", ""}, {100, 8224, "", ""},
             {8224, 4000, "", "4000 of 8224 bytes"}, {-1, 4112, "transfer stalled", "4112 bytes, transfer stalled"}})
      QCOMPARE(Shortfall({.opened = true, .reportedSize = reported, .block = std::string(length, 'b'),
                          .cutShort = cut}), std::string(shortfall));
  }

  // What a unit sends is shown with every byte a terminal would act on made visible.
  void printableText() {
    const std::tuple<QByteArray, size_t, bool, QByteArray> rows[] = {  // text, maxChars, keepLineBreaks, shown
        {"550 No such file.", 200, false, "550 No such file."},
        {"\x1b[2J\x1b]0;t\x07", 200, false, "\\x1b[2J\\x1b]0;t\\x07"},  // CSI and OSC
        {QByteArray("a\0b\bc\x7f", 6), 200, false, "a\\x00b\\x08c\\x7f"},
        {"1\r\n2\n", 200, false, "1\\x0d\\x0a2\\x0a"},
        {"1\r\n2\n3\r", 200, true, "1\r\n2\n3\\x0d"},  // line breaks kept, a lone CR not
        {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x93\xa1", 200, false, "\xc3\xa9\xe2\x82\xac\xf0\x9f\x93\xa1"},  // UTF-8
        {"\xc2\x9b" "2J\xc2\xa0", 200, false, "\\xc2\\x9b2J\xc2\xa0"},  // a C1 control
        {"\xff\xfe\xc3(\xed\xa0\x80\xf4\x90\x80\x80\xe2\x82", 200, false,
         "\\xff\\xfe\\xc3(\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xe2\\x82"},  // not UTF-8
        {"abcdef", 5, false, "abcde..."},
        {"abcde", 5, false, "abcde"},
        {"abc\x1b", 5, false, "abc..."},                      // never cut inside an escape
        {"abcd\xc3\xa9" "f", 5, false, "abcd\xc3\xa9..."}};   // nor inside a character
    for (const auto& [text, maxChars, keepLineBreaks, shown] : rows)
      QCOMPARE(QByteArray::fromStdString(ftp::PrintableText(text.toStdString(), maxChars, keepLineBreaks)), shown);
  }
};

std::unique_ptr<QObject> NewFtpServerTest() { return std::make_unique<FtpServerTest>(); }

#include "test_ftp_server.moc"
