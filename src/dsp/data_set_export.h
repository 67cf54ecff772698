#pragma once
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "common/notices.h"
#include "dsp/spectrum_update.h"

namespace tavrix {

enum class DataSet { Raw, Transformed, Scaled, PeakHold, VideoAverage };

// What sets the five exports apart.
struct DataSetInfo {
  DataSet Set;
  const char* Name;           // command-line name
  const char* Command;        // File > Export Data Set menu entry
  const char* Caption;
  const char* DialogTitle;
  const char* OverwriteText;  // start of the overwrite question
  int PointCount;             // lines after the header
};
extern const std::array<DataSetInfo, 5> kDataSets;

const DataSetInfo& InfoOf(DataSet set);
std::optional<DataSet> DataSetNamed(std::string_view name);

// The file's text: the header "Point","I_Data","Q_Data" and one quoted line per point,
// every line ended by CR LF. The raw and transformed sets have 4096 lines, the three
// trace sets 2048.
std::string FormatDataSet(DataSet set, const SpectrumState& state);

struct ExportResult {
  enum Outcome { Written, Declined, Failed };
  Outcome outcome = Written;
  std::string message;  // for Failed: one sentence for the operator
};

// Writes a data set file. When `notices` is given and the file exists, the operator is
// asked whether to overwrite it; No leaves the file untouched. The file is replaced only
// once its new text is complete. `progress` gets the percentages as lines are written
// and 0 at the end.
ExportResult WriteDataSet(DataSet set, const std::string& fileName, const SpectrumState& state,
                          Notices* notices, const ProgressFn& progress = {});

}  // namespace tavrix
