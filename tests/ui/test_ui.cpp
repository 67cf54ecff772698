// The entry boxes without a window: the character sets, the key filter's rules over the
// text and its selection, the leading number, and each box's range with its message.
#include <QtTest>

#include "test_support.h"
#include "ui/entry_checks.h"
#include "ui/key_filter.h"

using namespace tavrix;

namespace {

// A key typed into a box with its selection and length limit; what is let through and
// the text rewritten (none when not).
struct KeyCase {
  const char *Name, *Text;
  int Set, SelStart, SelLength, MaxLength, Key, Passed;
  const char* Rewritten = nullptr;
};
const KeyCase kKeyCases[] = {
    {"Escape in a full box", "1234", 2, 4, 0, 4, 27, 27}, {"digit, no limit", "12345678", 2, 8, 0, 0, '9', '9'},
    {"hex a upper-cased", "1", 7, 1, 0, 0, 'a', 'A'}, {"hex letter, octal set", "1", 10, 1, 0, 0, 'c', 0},
    {"h at the end", "101", 8, 3, 0, 0, 'h', 'h'}, {"h inside", "101", 8, 1, 0, 0, 'h', 0},
    {"second h", "12h", 9, 3, 0, 0, 'H', 0}, {"h over the selected h", "12h", 9, 2, 1, 0, 'h', 'h'},
    {"second point", "1.5", 0, 3, 0, 0, '.', 0}, {"point over the selected point", "1.5", 0, 1, 1, 0, '.', '.'},
    {"minus first", "5", 3, 0, 0, 0, '-', '-'}, {"minus after a digit", "5", 1, 1, 0, 0, '-', 0},
    {"second minus", "-5", 3, 0, 0, 0, '-', 0}, {"minus over the whole text", "-5", 3, 0, 2, 0, '-', '-'},
    {"k appends KHz", "1.5", 4, 3, 0, 0, 'k', 0, "1.5 KHz"},
    {"m replaces KHz", "1.5 KHz", 4, 7, 0, 0, 'm', 0, "1.5 MHz"},
    {"K replaces a bare M", "1.5M", 4, 0, 4, 0, 'K', 0, "1.5KHz"},
    {"k with K already", "1.5 KHz", 4, 7, 0, 0, 'k', 0}, {"k, set without", "1.5", 5, 3, 0, 0, 'k', 0},
    {"unit past the limit", "1.500", 5, 5, 0, 5, 'M', 0, "1.500 MHz"}, {"full box", "-100.000", 1, 8, 0, 8, '1', 0},
    {"full box, point", "1234", 0, 4, 0, 4, '.', 0}, {"full box, selection", "-100.000", 1, 0, 8, 8, '1', '1'},
};

// The data spans 70.0002..79.9998 MHz, shown as 70.000 and 80.000.
EntryCheck CheckFrequency(std::string_view text) { return CheckFrequencyEntry(text, 70.0002, 79.9998, "##0.000MHz"); }

// A box's text, the value read and the message (empty: in range).
struct EntryCase {
  const char* Name;
  EntryCheck (*Check)(std::string_view);
  const char* Text;
  double Value;
  const char* Message;
};
const char kPoints[] = "You can only select from valid points...1 through 2048!";
const EntryCase kEntryCases[] = {
    {"point 1", CheckPointEntry, "1", 1, ""}, {"point 2048", CheckPointEntry, "2048", 2048, ""},
    {"point 0", CheckPointEntry, "0", 0, kPoints}, {"point 2049", CheckPointEntry, "2049", 2049, kPoints},
    {"frequency as the low bound shows", CheckFrequency, "70", 70, ""},
    {"frequency as the high bound shows", CheckFrequency, "80.000 MHz", 80, ""},
    {"frequency below", CheckFrequency, "69.999", 69.999,
     "You can only set a frequency within 70.000MHz and 80.000MHz!"},
    {"frequency in KHz", CheckFrequency, "75000.5KHz", 75.0005, ""},
    {"amplitude -125", CheckAmplitudeEntry, "-125.000dB", -125, ""},
    {"amplitude above", CheckAmplitudeEntry, "125.001dB", 125.001,
     "You can only set an amplitude value within ±125dB!"},
    {"threshold 125", CheckThresholdEntry, "125", 125, ""},
    {"threshold below", CheckThresholdEntry, "-125.5dB", -125.5,
     "You can only set a minimum peak threshold value within ±125dB!"},
};

}  // namespace

class EntryBoxTest : public QObject {
  Q_OBJECT

 private slots:
  void characterSets() {
    for (int index = 0; index < 15; ++index) QVERIFY(CharacterSet(index).size() > 2 && CharacterSet(index).starts_with("\x1b\b"));
    QCOMPARE(CharacterSet(4) + "|" + CharacterSet(14), "\x1b\b.0123456789kKmM|\x1b\b" "9876543210.");
    QVERIFY(CharacterSet(-1).empty() && CharacterSet(15).empty());
  }

  void filterKey() {
    for (const KeyCase& c : kKeyCases) {
      const KeyFilterResult result = FilterKey(c.Key, CharacterSet(c.Set), {c.Text, c.SelStart, c.SelLength, c.MaxLength});
      QVERIFY2(result.Key == c.Passed, c.Name);
      QVERIFY2(result.Text == (c.Rewritten ? std::optional<std::string>(c.Rewritten) : std::nullopt), c.Name);
    }
  }

  void leadingNumber() {
    for (const auto& [text, value] : {std::pair{"-3.500dB", -3.5}, {"12.5 MHz", 12.5}, {"  7", 7.0},
                                      {"", 0.0}, {"abc", 0.0}, {"1.2.3", 1.2}, {"-.5", -0.5}, {"- 5", 0.0}})
      QVERIFY2(LeadingNumber(text) == value, text);
  }

  void entryChecks() {
    for (const EntryCase& c : kEntryCases) {
      const EntryCheck check = c.Check(c.Text);
      QVERIFY2(check.InRange == (*c.Message == '\0') && check.Value == c.Value, c.Name);
      QCOMPARE(check.Message, std::string(c.Message));
    }
  }
};

TAVRIX_TEST_MAIN(QCoreApplication, tavrix::testing::Make<EntryBoxTest>)

#include "test_ui.moc"
