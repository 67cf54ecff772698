#include "store/viewer_settings.h"

#include <QDir>
#include <QString>

#include <algorithm>
#include <cmath>
#include <optional>

#include "store/modem_directory.h"
#include "store/settings_store.h"
#include "store/settings_text.h"

namespace tavrix {

namespace {

const std::string kWindowSection = "WindowState";
const std::string kConfigSection = "Configuration";
const std::string kMeasureSection = "Measurement";
const std::string kHistorySection = "History";
constexpr int32_t kMaxColor = 0xFFFFFF;
constexpr float kThresholdLimit = 125.0f;  // dB either way
constexpr float kMeasureLimitRange = 1000.0f;  // dB either way: beyond it a limit is junk

std::string PaletteSection(int palette) { return "Configuration\\ColorPalette" + std::to_string(palette); }

// A folder text with "/" between its parts, whatever the platform writes.
std::string ForwardSlashes(const std::string& path) {
  return QDir::fromNativeSeparators(QString::fromStdString(path)).toStdString();
}

// A key and the field of `Owner` it stores.
template <typename Owner, typename T>
struct FieldKey {
  const char* Key;
  T Owner::*Field;
};

// The Booleans of the configuration, in the order they are stored, in two runs split by
// the cursors, the point moves and the threshold.
using BooleanKey = FieldKey<ViewerSettings, bool>;
constexpr std::array<BooleanKey, 5> kShownKeys = {{{"SnapToPoint", &ViewerSettings::SnapToPoint},
                                                   {"WindowSpectrum", &ViewerSettings::WindowSpectrum},
                                                   {"StopUpdates", &ViewerSettings::StopUpdates},
                                                   {"SelectionPanelOn", &ViewerSettings::SelectionPanelOn},
                                                   {"CursorDisplay", &ViewerSettings::CursorDisplay}}};
constexpr std::array<BooleanKey, 4> kTraceKeys = {{{"CurrentTrace", &ViewerSettings::CurrentTrace},
                                                   {"PeakHold", &ViewerSettings::PeakHold},
                                                   {"VideoAverage", &ViewerSettings::VideoAverage},
                                                   {"LastTrace", &ViewerSettings::LastTrace}}};

// The measurement's switches, and its numbers (each empty when not set).
using MeasureFlag = FieldKey<MeasureSettings, bool>;
constexpr std::array<MeasureFlag, 4> kMeasureFlags = {{{"Average", &MeasureSettings::Average},
                                                       {"MeasurePanel", &MeasureSettings::MeasurePanel},
                                                       {"PeakTable", &MeasureSettings::PeakTable},
                                                       {"EventLog", &MeasureSettings::EventLog}}};
using MeasureLimitKey = FieldKey<MeasureSettings, std::optional<double>>;
constexpr std::array<MeasureLimitKey, 2> kMeasureLimitKeys = {
    {{"ChannelPowerLimit", &MeasureSettings::ChannelPowerLimit}, {"CNLimit", &MeasureSettings::CarrierToNoiseLimit}}};
constexpr std::array<const char*, 2> kNoiseBandKeys = {"NoiseBandLow", "NoiseBandHigh"};

// The history's switches; its folder and limit are read on their own.
using HistoryFlag = FieldKey<HistorySettings, bool>;
constexpr std::array<HistoryFlag, 5> kHistoryFlags = {{{"Recording", &HistorySettings::Recording},
                                                       {"Waterfall", &HistorySettings::Waterfall},
                                                       {"LevelStrips", &HistorySettings::LevelStrips},
                                                       {"PaletteColorMap", &HistorySettings::PaletteColorMap},
                                                       {"AutomaticLevels", &HistorySettings::AutomaticLevels}}};
constexpr std::array<const char*, 2> kHistoryValueKeys = {"RecordingFolder", "RecordingLimitMiB"};

constexpr std::array<const char*, 4> kCursorKeys = {"Cursor1X", "Cursor1Y", "Cursor2X", "Cursor2Y"};
constexpr std::array<const char*, 5> kWindowKeys = {"WindowState", "WindowLeft", "WindowTop", "WindowWidth",
                                                     "WindowHeight"};
constexpr std::array<const char*, 4> kOtherConfigKeys = {"CurrentPalette", "LastPath", "PointMoves", "PeakThreshold"};

template <typename Keys, typename Name>
bool Listed(const Keys& keys, const std::string& key, Name name) {
  return std::any_of(keys.begin(), keys.end(), [&](const auto& entry) { return key == name(entry); });
}

template <typename Cursors>
auto& CursorCoordinate(Cursors& cursors, size_t i) {
  return i % 2 == 0 ? cursors[i / 2].X : cursors[i / 2].Y;
}

// Reads one value; a text missing or unreadable by `read`, or refused by `accept`,
// leaves `value` at its default.
template <typename T, typename Reader, typename Accept>
void Load(const SettingsStore& store, const std::string& section, const char* key, T& value, Reader read,
          Accept accept) {
  const auto stored = read(store.GetSetting(section, key, std::string()));
  if (stored && accept(*stored)) value = static_cast<T>(*stored);
}

template <typename T, typename Reader>
void Load(const SettingsStore& store, const std::string& section, const char* key, T& value, Reader read) {
  Load(store, section, key, value, read, [](auto) { return true; });
}

}  // namespace

bool IsSettingsTableKey(const std::string& section, const std::string& key) {
  const auto plain = [](const char* name) { return name; };
  const auto named = [](const auto& entry) { return entry.Key; };
  if (section == kWindowSection) return Listed(kWindowKeys, key, plain);
  if (section == PaletteSection(0) || section == PaletteSection(1)) return Listed(kPaletteKeys, key, named);
  if (section == kConfigSection)
    return Listed(kOtherConfigKeys, key, plain) || Listed(kCursorKeys, key, plain) || Listed(kShownKeys, key, named) ||
           Listed(kTraceKeys, key, named);
  if (section == kMeasureSection)
    return Listed(kNoiseBandKeys, key, plain) || Listed(kMeasureLimitKeys, key, named) ||
           Listed(kMeasureFlags, key, named);
  if (section == kHistorySection) return Listed(kHistoryFlags, key, named) || Listed(kHistoryValueKeys, key, plain);
  return IsDirectoryKey(section, key);
}

ViewerSettings LoadViewerSettings(const SettingsStore& store, const std::string& homeFolder) {
  ViewerSettings s;

  StoredGeometry& window = s.Window;
  Load(store, kWindowSection, "WindowState", window.State, ReadInteger,
       [](int16_t state) { return state >= kWindowNormal && state <= kWindowMaximized; });
  // Any finite place is kept: the window pulls itself back onto a screen.
  Load(store, kWindowSection, "WindowLeft", window.Left, ReadSingle);
  Load(store, kWindowSection, "WindowTop", window.Top, ReadSingle);
  const auto positive = [](float size) { return size > 0; };
  Load(store, kWindowSection, "WindowWidth", window.Width, ReadSingle, positive);
  Load(store, kWindowSection, "WindowHeight", window.Height, ReadSingle, positive);

  const auto isColor = [](int32_t color) { return color >= 0 && color <= kMaxColor; };
  for (int p = 0; p < 2; ++p)
    for (const PaletteKey& key : kPaletteKeys)
      Load(store, PaletteSection(p), key.Key, s.Palettes[p][key.Field], ReadLong, isColor);

  Load(store, kConfigSection, "CurrentPalette", s.CurrentPalette, ReadInteger,
       [](int16_t palette) { return palette == kViewingPalette || palette == kPrintingPalette; });
  s.LastPath = ForwardSlashes(store.GetSetting(kConfigSection, "LastPath", homeFolder));
  for (const BooleanKey& key : kShownKeys) Load(store, kConfigSection, key.Key, s.*key.Field, ReadBoolean);
  for (size_t i = 0; i < kCursorKeys.size(); ++i)
    Load(store, kConfigSection, kCursorKeys[i], CursorCoordinate(s.Cursors, i), ReadSingle);
  // The combo index: any non-zero value, "True" among them, is Peak Points.
  Load(store, kConfigSection, "PointMoves", s.PointMoves, ReadBoolean);
  Load(store, kConfigSection, "PeakThreshold", s.PeakThreshold, ReadSingle,
       [](float dB) { return std::fabs(dB) <= kThresholdLimit; });
  for (const BooleanKey& key : kTraceKeys) Load(store, kConfigSection, key.Key, s.*key.Field, ReadBoolean);

  // A noise band needs both edges, the lower first; a limit any level within reason.
  MeasureSettings& m = s.Measure;
  std::array<std::optional<float>, 2> edges;
  for (size_t i = 0; i < edges.size(); ++i) edges[i] = ReadSingle(store.GetSetting(kMeasureSection, kNoiseBandKeys[i], ""));
  if (edges[0] && edges[1] && *edges[0] < *edges[1]) m.NoiseBand = std::array<double, 2>{*edges[0], *edges[1]};
  for (const MeasureLimitKey& key : kMeasureLimitKeys)
    Load(store, kMeasureSection, key.Key, m.*key.Field, ReadSingle,
         [](float dB) { return std::fabs(dB) <= kMeasureLimitRange; });
  for (const MeasureFlag& key : kMeasureFlags) Load(store, kMeasureSection, key.Key, m.*key.Field, ReadBoolean);

  // A folder is any text; a limit at least one MiB.
  HistorySettings& h = s.History;
  for (const HistoryFlag& key : kHistoryFlags) Load(store, kHistorySection, key.Key, h.*key.Field, ReadBoolean);
  h.RecordingFolder = store.GetSetting(kHistorySection, "RecordingFolder", "");
  Load(store, kHistorySection, "RecordingLimitMiB", h.RecordingLimitMiB, ReadLong, [](int32_t mib) { return mib >= 1; });
  return s;
}

void SaveViewerSettings(SettingsStore& store, const ViewerSettings& settings) {
  const StoredGeometry& window = settings.Window;
  // A minimised window opens normal next time.
  const int state = window.State == kWindowMaximized ? kWindowMaximized : kWindowNormal;
  store.SaveSetting(kWindowSection, "WindowState", IntegerText(state));
  store.SaveSetting(kWindowSection, "WindowLeft", SingleText(static_cast<float>(window.Left)));
  store.SaveSetting(kWindowSection, "WindowTop", SingleText(static_cast<float>(window.Top)));
  store.SaveSetting(kWindowSection, "WindowWidth", SingleText(static_cast<float>(window.Width)));
  store.SaveSetting(kWindowSection, "WindowHeight", SingleText(static_cast<float>(window.Height)));

  for (int p = 0; p < 2; ++p)
    for (const PaletteKey& key : kPaletteKeys)
      store.SaveSetting(PaletteSection(p), key.Key, IntegerText(settings.Palettes[p][key.Field]));

  store.SaveSetting(kConfigSection, "CurrentPalette", IntegerText(settings.CurrentPalette));
  store.SaveSetting(kConfigSection, "LastPath", ForwardSlashes(settings.LastPath));
  for (const BooleanKey& key : kShownKeys)
    store.SaveSetting(kConfigSection, key.Key, BooleanText(settings.*key.Field));
  for (size_t i = 0; i < kCursorKeys.size(); ++i)
    store.SaveSetting(kConfigSection, kCursorKeys[i], SingleText(CursorCoordinate(settings.Cursors, i)));
  store.SaveSetting(kConfigSection, "PointMoves", settings.PointMoves != 0 ? "1" : "0");
  store.SaveSetting(kConfigSection, "PeakThreshold", SingleText(settings.PeakThreshold));
  for (const BooleanKey& key : kTraceKeys)
    store.SaveSetting(kConfigSection, key.Key, BooleanText(settings.*key.Field));

  // A number not set is stored empty, which reads back as not set.
  const MeasureSettings& m = settings.Measure;
  const auto number = [](std::optional<double> value) {
    return value ? SingleText(static_cast<float>(*value)) : std::string();
  };
  for (size_t i = 0; i < kNoiseBandKeys.size(); ++i)
    store.SaveSetting(kMeasureSection, kNoiseBandKeys[i],
                      number(m.NoiseBand ? std::optional<double>((*m.NoiseBand)[i]) : std::nullopt));
  for (const MeasureLimitKey& key : kMeasureLimitKeys) store.SaveSetting(kMeasureSection, key.Key, number(m.*key.Field));
  for (const MeasureFlag& key : kMeasureFlags) store.SaveSetting(kMeasureSection, key.Key, BooleanText(m.*key.Field));

  const HistorySettings& h = settings.History;
  for (const HistoryFlag& key : kHistoryFlags) store.SaveSetting(kHistorySection, key.Key, BooleanText(h.*key.Field));
  store.SaveSetting(kHistorySection, "RecordingFolder", h.RecordingFolder);
  store.SaveSetting(kHistorySection, "RecordingLimitMiB", IntegerText(h.RecordingLimitMiB));
  // Whatever else a hand-edited or damaged file brought in is not written back.
  store.KeepOnly(IsSettingsTableKey);
}

}  // namespace tavrix
