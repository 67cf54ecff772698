// Recordings: what is written is read back exactly; a crash's torn tail, damage inside the
// file and a full disk lose only the records they touch; the folder's names, days and limit.
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "history/recorder.h"
#include "history/recording_folder.h"
#include "history/recording_reader.h"
#include "history/recording_writer.h"
#include "test_support.h"

#if defined(Q_OS_LINUX)
#include <sys/resource.h>
#endif

using namespace tavrix;
using namespace tavrix::history;
using namespace tavrix::testing;

namespace {

using Written = std::pair<int64_t, std::string>;  // arrival time and block

// Blocks of the sizes a unit may send: a whole capture, a short one, an empty read, noise.
std::vector<Written> SampleCaptures() {
  std::mt19937 random(7);
  std::string noise(30000, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  return {{1'700'000'000'000, ReadBytes("blocks/noise_seed1234.bin")},
          {1'700'000'003'000, ReadBytes("blocks/tone_bin0005.bin")},
          {1'700'000'006'000, std::string()},
          {1'700'000'009'000, std::string(100, 'x')},
          {1'700'000'012'000, noise}};
}

std::string WriteRecording(const std::string& path, const std::vector<Written>& captures) {
  RecordingWriter writer;
  if (std::string problem = writer.Open(path, {"Rack \"A\" \\ slot 1 \xC3\xA9", "[::1]:2121"}); !problem.empty())
    return problem;
  for (const auto& [time, block] : captures)
    if (std::string problem = writer.Append(time, block); !problem.empty()) return problem;
  return {};
}

// Every record the reader finds, with its block ("<damaged>" where it cannot be read).
std::vector<Written> ReadBack(RecordingReader& reader) {
  std::vector<Written> read;
  for (size_t i = 0; i < reader.Count(); ++i) {
    std::string block;
    read.emplace_back(reader.Entry(i).TimeMs, reader.Block(i, block) ? block : "<damaged>");
  }
  return read;
}

void PutFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

class RecordingTest : public QObject {
  Q_OBJECT

 private slots:
  void capturesReadBackExactly() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("unit/2023-11-14.tavrec").toStdString();
    const auto captures = SampleCaptures();
    QCOMPARE(WriteRecording(path, captures), std::string());
    RecordingReader reader;
    QCOMPARE(reader.Open(path), std::string());
    QCOMPARE(reader.Header().UnitName, std::string("Rack \"A\" \\ slot 1 \xC3\xA9"));
    QCOMPARE(reader.Header().UnitAddress, std::string("[::1]:2121"));
    QVERIFY(ReadBack(reader) == captures);
    for (const auto& [time, first] : std::vector<std::pair<int64_t, size_t>>{
             {1'700'000'006'000, 2}, {1'700'000'006'001, 3}, {0, 0}, {INT64_MAX, captures.size()}})
      QCOMPARE(reader.FirstAtOrAfter(time), first);
    // Noise does not shrink, but a capture of real samples does.
    QVERIFY(reader.Entry(1).PayloadBytes < captures[1].second.size() / 2);

    // A reader follows a recording that goes on being written; an existing file keeps its header.
    RecordingWriter more;
    QCOMPARE(more.Open(path, {"another name", "10.0.0.1"}), std::string());
    QCOMPARE(more.Append(1'700'000'015'000, "late"), std::string());
    QCOMPARE(reader.Refresh(), captures.size() + 1);
    QCOMPARE(ReadBack(reader).back(), Written(1'700'000'015'000, "late"));
    RecordingReader again;
    QVERIFY(again.Open(path).empty() && again.Header().UnitName == reader.Header().UnitName);
  }

  // A crash may stop a write at any byte: every whole record before it is read, nothing
  // after it, and a writer opening the file again cuts the torn record off and goes on.
  // Damage inside the file: a broken record header is passed over to the next record; a
  // broken payload fails that record's read alone.
  void aCrashOrDamageLosesOnlyWhatItTouches() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("r.tavrec").toStdString();
    const auto captures = SampleCaptures();
    QCOMPARE(WriteRecording(path, captures), std::string());
    const std::string whole = ReadWholeFile(path);
    RecordingReader full;
    QCOMPARE(full.Open(path), std::string());
    const uint64_t lastTwo = full.Entry(captures.size() - 2).Offset;
    std::mt19937 random(3);
    std::vector<size_t> cuts = {lastTwo, lastTwo + 1, lastTwo + 19, lastTwo + 20, whole.size() - 1};
    for (int i = 0; i < 40; ++i) cuts.push_back(lastTwo + random() % (whole.size() - lastTwo));
    for (const size_t cut : cuts) {
      PutFileBytes(path, whole.substr(0, cut));
      RecordingReader reader;
      QCOMPARE(reader.Open(path), std::string());
      size_t expected = 0;
      while (expected < full.Count() && full.Entry(expected).Offset + 20 + full.Entry(expected).PayloadBytes <= cut)
        ++expected;
      QVERIFY2(ReadBack(reader) == std::vector<Written>(captures.begin(), captures.begin() + expected),
               std::to_string(cut).c_str());
      QCOMPARE(reader.SkippedBytes(), uint64_t(0));
      RecordingWriter writer;
      QVERIFY(writer.Open(path, {}).empty() && writer.Append(42, "after the crash").empty());
      QVERIFY(reader.Open(path).empty() && reader.Count() == expected + 1);
      QCOMPARE(ReadBack(reader).back(), Written(42, "after the crash"));
    }

    const uint64_t second = full.Entry(1).Offset;
    const std::vector<std::pair<uint64_t, const char*>> damage = {
        {second, "mark"}, {second + 6, "time"}, {second + 13, "length"},
        {second + 20 + full.Entry(1).PayloadBytes / 2, "payload"}};
    for (const auto& [offset, what] : damage) {
      std::string bytes = whole;
      bytes[offset] = static_cast<char>(bytes[offset] ^ 0x5A);
      PutFileBytes(path, bytes);
      RecordingReader reader;
      QCOMPARE(reader.Open(path), std::string());
      std::vector<Written> expected = captures;
      if (std::string_view(what) == "payload") expected[1].second = "<damaged>";
      else expected.erase(expected.begin() + 1);
      QVERIFY2(ReadBack(reader) == expected, what);
    }

    const std::vector<std::pair<std::string, std::string>> notRecordings = {
        {"TAVRXRE", "its header is incomplete"},
        {"hello world, this is text", "not a recording of this program"},
        {whole.substr(0, 11), "its header is incomplete"},
        {std::string(whole).replace(8, 1, "\x02"), "its header is damaged, or it was written by a later version"},
        {std::string(whole).replace(15, 1, "?"), "its header is damaged, or it was written by a later version"},
    };
    for (const auto& [bytes, reason] : notRecordings) {
      PutFileBytes(path, bytes);
      RecordingReader reader;
      QCOMPARE(reader.Open(path), reason);
      RecordingWriter writer;
      QCOMPARE(writer.Open(path, {}), reason);  // and is never written over
      QCOMPARE(ReadWholeFile(path), bytes);
    }
    RecordingReader missing;
    QVERIFY(!missing.Open(dir.filePath("none.tavrec").toStdString()).empty());
    QCOMPARE(missing.Open(dir.path().toStdString()), std::string("not a regular file"));
  }

  void aFullDiskKeepsTheWholeRecords() {
#if !defined(Q_OS_LINUX)
    QSKIP("needs a file size limit");
#else
    QTemporaryDir dir;
    const std::string path = dir.filePath("full.tavrec").toStdString();
    RecordingWriter writer;
    QCOMPARE(writer.Open(path, {"unit", "10.0.0.1"}), std::string());
    const std::string block = SampleCaptures()[4].second;  // noise: no smaller compressed
    rlimit saved{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit small = saved;
    small.rlim_cur = 100000;
    const auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string reason;
    int written = 0;
    while (reason.empty() && written < 10) {
      reason = writer.Append(written, block);
      if (reason.empty()) ++written;
    }
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldSignal);
    QCOMPARE(reason, std::string(std::strerror(EFBIG)));
    QCOMPARE(written, 3);
    QCOMPARE(writer.Append(99, "space again"), std::string());  // once there is room, it goes on
    RecordingReader reader;
    QCOMPARE(reader.Open(path), std::string());
    QCOMPARE(reader.Count(), size_t(written + 1));
    QCOMPARE(uint64_t(std::filesystem::file_size(path)), reader.WholeBytes());
#endif
  }

  void folderNamesAndDays() {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"Rack A slot 1", "Rack A slot 1"},
        {"a/b\\c:d", "a%2Fb%5Cc%3Ad"},
        {"..", "%2E%2E"},
        {"unit.", "unit%2E"},
        {"unit ", "unit%20"},
        {"", "%00"},
        {"\xC3\xA9t\xC3\xA9", "%C3%A9t%C3%A9"},
        {"100%", "100%25"},
    };
    for (const auto& [name, folder] : names) QCOMPARE(UnitFolderName(name), folder);
    const std::string longA(200, '/'), longB = std::string(199, '/') + "x";
    QVERIFY(UnitFolderName(longA).size() <= 96 && UnitFolderName(longB).size() <= 96);
    QVERIFY(UnitFolderName(longA) != UnitFolderName(longB));
    QVERIFY(UnitFolderName(longA).find('%', UnitFolderName(longA).size() - 11) == std::string::npos);

    const std::vector<std::pair<int64_t, std::string>> days = {
        {0, "1970-01-01"}, {86'399'999, "1970-01-01"}, {86'400'000, "1970-01-02"}, {-1, "1969-12-31"},
        {1'709'164'800'000, "2024-02-29"}, {4'102'444'800'000, "2100-01-01"}};
    for (const auto& [time, day] : days) QCOMPARE(UtcDay(time), day);
    QCOMPARE(RecordingPath("/rec", "a/b", 0), (std::filesystem::path("/rec") / "a%2Fb" / "1970-01-01.tavrec").string());
  }

  // The limit removes whole days, oldest first, across units, never the file being written.
  void theLimitRemovesTheOldestDays() {
    QTemporaryDir dir;
    const std::string folder = dir.path().toStdString();
    auto make = [&](const std::string& unit, const std::string& day, size_t bytes) {
      const auto path = std::filesystem::path(folder) / UnitFolderName(unit) / (day + ".tavrec");
      std::filesystem::create_directories(path.parent_path());
      PutFileBytes(path.string(), std::string(bytes, 'r'));
      return path.string();
    };
    make("a", "2026-01-01", 100);
    make("b", "2026-01-02", 100);
    const std::string writing = make("c", "2025-12-31", 100);  // oldest, but open
    make("a", "2026-01-03", 100);
    PutFileBytes(folder + "/notes.txt", std::string(1000, 'n'));  // not a recording: not counted
    make("a", "2026-01-04", 100);
    const PruneResult result = PruneRecordings(folder, 250, {writing});
    QCOMPARE(result.TotalBytes, uint64_t(200));
    QCOMPARE(result.Removed.size(), size_t(3));
    std::vector<std::string> left;
    for (const RecordingFile& f : ListRecordings(folder)) left.push_back(f.Day);
    QCOMPARE(left, (std::vector<std::string>{"2025-12-31", "2026-01-04"}));
    QCOMPARE(UnitRecordings(folder, "a").size(), size_t(1));
  }

  // The recorder writes each unit's captures to its file of the day, behind the caller;
  // a folder it cannot write stops it with one reason, and new settings start it again.
  void theRecorderFilesCapturesByUnitAndDay() {
    QTemporaryDir dir;
    const std::string folder = dir.filePath("rec").toStdString();
    Recorder recorder({true, folder, kDefaultRecordingLimit});
    const int64_t day = 86'400'000;
    recorder.Append({"one", "10.0.0.1", 20'000 * day - 1, "a"});
    recorder.Append({"two", "10.0.0.2", 20'000 * day - 1, "b"});
    recorder.Append({"one", "10.0.0.1", 20'000 * day, "c"});
    recorder.Flush();
    QCOMPARE(recorder.TakeFailure(), std::string());
    std::vector<std::string> files;
    for (const RecordingFile& f : ListRecordings(folder)) {
      RecordingReader reader;
      QCOMPARE(reader.Open(f.Path), std::string());
      files.push_back(reader.Header().UnitName + " " + f.Day + " " + std::to_string(reader.Count()));
    }
    std::sort(files.begin(), files.end());
    QCOMPARE(files, (std::vector<std::string>{"one 2024-10-03 1", "one 2024-10-04 1", "two 2024-10-03 1"}));
    QCOMPARE(recorder.CurrentFile("one"), RecordingPath(folder, "one", 20'000 * day));

    const std::string blocked = dir.filePath("blocked").toStdString();
    PutFileBytes(blocked, "a file where the folder should be");
    recorder.Apply({true, blocked, kDefaultRecordingLimit});
    recorder.Append({"one", "10.0.0.1", 20'000 * day, "d"});
    recorder.Flush();
    QVERIFY(!recorder.Recording());
    QVERIFY(recorder.TakeFailure().starts_with("the recording " + blocked));
    recorder.Append({"one", "10.0.0.1", 20'000 * day, "e"});
    recorder.Flush();
    QCOMPARE(recorder.TakeFailure(), std::string());  // told once
    recorder.Apply({true, folder, kDefaultRecordingLimit});
    QVERIFY(recorder.Recording());
    // Each capture is written behind the caller unasked, also the ones that come while the
    // writer waits: it looks at what was handed over by itself.
    RecordingReader reader;
    QCOMPARE(reader.Open(recorder.CurrentFile("one")), std::string());
    for (const size_t count : {2, 3, 4}) {
      recorder.Append({"one", "10.0.0.1", 20'000 * day, "f"});
      const QDeadlineTimer deadline(10'000);
      while (reader.Refresh() < count && !deadline.hasExpired()) QThread::msleep(10);
      QCOMPARE(reader.Count(), count);
    }
  }
};

std::unique_ptr<QObject> NewReplayTest(), NewWaterfallTest(), NewRecordingInputsTest(), NewHistoryPanelsTest();
TAVRIX_TEST_MAIN(QGuiApplication, Make<RecordingTest>, NewReplayTest, NewWaterfallTest, NewRecordingInputsTest,
                  NewHistoryPanelsTest)
#include "test_recording.moc"
