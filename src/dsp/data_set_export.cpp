#include "dsp/data_set_export.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/file_io.h"
#include "common/number_text.h"

namespace tavrix {

namespace {

constexpr std::string_view kHeader = "\"Point\",\"I_Data\",\"Q_Data\"\r\n";
// Two blanks after the exclamation mark, as the question has always read.
constexpr std::string_view kOverwriteQuestion = " already exists!  Do you wish to overwrite this file?";
constexpr int kLineRoom = 3 * (kMaxNumberText + 3) + 2;  // three quoted fields, commas, CR LF

char* AppendLine(char* out, int point, float column2, float column3) {
  *out++ = '"';
  out = AppendInteger(out, point);
  std::memcpy(out, "\",\"", 3);
  out = AppendNumberText(out + 3, column2);
  std::memcpy(out, "\",\"", 3);
  out = AppendNumberText(out + 3, column3);
  std::memcpy(out, "\"\r\n", 3);
  return out + 3;
}

// Column values of point p (0-based index) of a set.
struct Columns {
  const float* second;
  const float* third;
  size_t stride;  // in floats
};

Columns ColumnsOf(DataSet set, const SpectrumState& s) {
  constexpr size_t kPointStride = sizeof(TracePoint) / sizeof(float);
  const TraceSet& t = s.Traces;
  switch (set) {
    case DataSet::Raw: return {s.Capture.SampleI.data(), s.Capture.SampleQ.data(), 1};
    case DataSet::Transformed: return {s.SpectrumRe.data(), s.SpectrumIm.data(), 1};
    case DataSet::Scaled: return {&t.FreqPoints[0].Current, &t.AmpPoints[0].Current, kPointStride};
    case DataSet::PeakHold: return {&t.FreqPoints[0].PeakHold, &t.AmpPoints[0].PeakHold, kPointStride};
    case DataSet::VideoAverage:
      return {&t.FreqPoints[0].VideoAverage, &t.AmpPoints[0].VideoAverage, kPointStride};
  }
  return {s.Capture.SampleI.data(), s.Capture.SampleQ.data(), 1};
}

}  // namespace

const std::array<DataSetInfo, 5> kDataSets = {{
    {DataSet::Raw, "raw", "mnuFileRaw", "Export &Raw Data Set", "Specify the raw data set file to export...",
     "The raw data set file ", kSampleCount},
    {DataSet::Transformed, "transformed", "mnuFileTransformed", "Export &Transformed Data Set",
     "Specify the transformed data set file to export...", "The transformed data set file ", kSampleCount},
    {DataSet::Scaled, "scaled", "mnuFileScaled", "Export Transformed && &Scaled Data Set",
     "Specify the transformed & scaled data set file to export...",
     "The transformed & scaled data set file ", kPointCount},
    {DataSet::PeakHold, "peakhold", "mnuFilePeakHold", "Export Peak &Hold Data Set",
     "Specify the peak hold data set file to export...", "The peak hold data set file ", kPointCount},
    {DataSet::VideoAverage, "videoaverage", "mnuFileVideoAverage", "Export &Video Average Data Set",
     "Specify the video average data set file to export...", "The video average data set file ",
     kPointCount},
}};

const DataSetInfo& InfoOf(DataSet set) { return kDataSets[static_cast<size_t>(set)]; }

std::optional<DataSet> DataSetNamed(std::string_view name) {
  for (const DataSetInfo& info : kDataSets)
    if (name == info.Name) return info.Set;
  return std::nullopt;
}

std::string FormatDataSet(DataSet set, const SpectrumState& state) {
  const int count = InfoOf(set).PointCount;
  const Columns columns = ColumnsOf(set, state);
  // Room for the longest lines, kept per thread so that fresh pages are not touched for
  // every export; the text is written once, then copied out.
  thread_local std::vector<char> room;
  room.resize(std::max(room.size(), kHeader.size() + static_cast<size_t>(count) * kLineRoom));
  char* out = room.data();
  std::memcpy(out, kHeader.data(), kHeader.size());
  out += kHeader.size();
  for (int p = 0; p < count; ++p)
    out = AppendLine(out, p + 1, columns.second[p * columns.stride], columns.third[p * columns.stride]);
  return std::string(room.data(), out);
}

ExportResult WriteDataSet(DataSet set, const std::string& fileName, const SpectrumState& state,
                          Notices* notices, const ProgressFn& progress) {
  const DataSetInfo& info = InfoOf(set);
  if (notices && PathExists(fileName)) {
    const MessageAnswer answer =
        notices->Ask(info.OverwriteText + fileName + std::string(kOverwriteQuestion), "OK to Overwrite",
                     MessageButtons::YesNo, MessageIcon::Exclamation);
    if (answer != MessageAnswer::Yes) return {ExportResult::Declined, {}};
  }
  const std::string text = FormatDataSet(set, state);
  if (progress) {
    // The whole percentage (i + 1) x 100 / 4096, rounded down, for i = 1 .. the last line,
    // shown as it rises.
    int last = 0;
    for (int i = 1; i <= info.PointCount; ++i) {
      const int pct = static_cast<int>((i + 1) * 100.0 / 4096);
      if (pct > last) progress(last = pct);
    }
  }
  const std::string error = WriteFileAtomically(fileName, text);
  if (progress) progress(0);
  if (!error.empty())
    return {ExportResult::Failed, "Could not write the data set file " + fileName + ": " + error + "."};
  return {ExportResult::Written, {}};
}

}  // namespace tavrix
