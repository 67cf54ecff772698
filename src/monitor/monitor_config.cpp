#include "monitor/monitor_config.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <toml++/toml.h>

#include "link/server_address.h"

namespace tavrix::monitor {

namespace {

constexpr int kMaxLinkThreads = 256;
constexpr double kMaxRecordingMiB = 1 << 24;  // 16 TiB

// A problem found in the file, with the line it is on.
struct Problem {
  int line = 0;
  std::string reason;
};

int LineOf(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

Problem At(const toml::node& node, std::string reason) { return {LineOf(node), std::move(reason)}; }

std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    out += c;
  }
  return out + "\"";
}

// Reads the tables of one kind: each key must be one of `known`.
std::optional<Problem> UnknownKey(const toml::table& table, std::initializer_list<std::string_view> known,
                                  const std::string& where) {
  for (auto&& [key, value] : table) {
    if (std::find(known.begin(), known.end(), key.str()) != known.end()) continue;
    return At(value, where + "unknown key " + Quoted(std::string(key.str())));
  }
  return std::nullopt;
}

class Reader {
 public:
  explicit Reader(const toml::table& root) : root_(root) {}

  std::optional<Problem> Read(MonitorConfig& config) {
    if (auto p = UnknownKey(root_, {"listen", "link_threads", "recording", "unit"}, "")) return p;
    if (const toml::node* listen = root_.get("listen")) {
      std::string text;
      if (auto p = Text(*listen, "listen", text)) return p;
      const std::optional<ListenAddress> address = ParseListenAddress(text);
      if (!address)
        return At(*listen, "listen must be HOST:PORT, [IPV6]:PORT or :PORT with an IP address and a port "
                           "1-65535, not " + Quoted(text));
      config.Listen = *address;
    } else {
      config.Listen = *ParseListenAddress(kDefaultListen);
    }
    if (const toml::node* threads = root_.get("link_threads")) {
      const std::optional<int64_t> n = threads->value_exact<int64_t>();
      if (!n || *n < 1 || *n > kMaxLinkThreads)
        return At(*threads, "link_threads must be a whole number from 1 to " + std::to_string(kMaxLinkThreads));
      config.LinkThreads = static_cast<int>(*n);
    }
    if (const toml::node* recording = root_.get("recording"))
      if (auto p = ReadRecording(*recording, config)) return p;
    if (const toml::node* units = root_.get("unit")) {
      const toml::array* list = units->as_array();
      if (list == nullptr || !list->is_array_of_tables())
        return At(*units, "unit must be a list of tables: write each unit as [[unit]]");
      std::set<std::string> names;
      for (const toml::node& node : *list) {
        UnitConfig& unit = config.Units.emplace_back();
        if (auto p = ReadUnit(*node.as_table(), unit)) return p;
        if (!names.insert(unit.Name).second)
          return At(*node.as_table()->get("name"), "unit " + Quoted(unit.Name) + " is named twice");
      }
    }
    return std::nullopt;
  }

 private:
  static std::optional<Problem> Text(const toml::node& node, const std::string& what, std::string& out) {
    const std::optional<std::string> text = node.value_exact<std::string>();
    if (!text) return At(node, what + " must be a text in quotes");
    out = *text;
    return std::nullopt;
  }

  static std::optional<Problem> Number(const toml::node& node, const std::string& what, double& out) {
    const std::optional<double> value = node.is_integer() || node.is_floating_point() ? node.value<double>()
                                                                                       : std::nullopt;
    if (!value || !std::isfinite(*value)) return At(node, what + " must be a number");
    out = *value;
    return std::nullopt;
  }

  std::optional<Problem> ReadRecording(const toml::node& node, MonitorConfig& config) {
    const toml::table* table = node.as_table();
    if (table == nullptr) return At(node, "recording must be a table: write it as [recording]");
    if (auto p = UnknownKey(*table, {"folder", "limit_mib"}, "recording: ")) return p;
    history::RecorderSettings settings;
    const toml::node* folder = table->get("folder");
    if (folder == nullptr) return At(node, "recording: folder is required");
    if (auto p = Text(*folder, "recording: folder", settings.Folder)) return p;
    if (settings.Folder.empty()) return At(*folder, "recording: folder must not be empty");
    if (const toml::node* limit = table->get("limit_mib")) {
      double mib = 0;
      if (auto p = Number(*limit, "recording: limit_mib", mib)) return p;
      if (mib < 1 || mib > kMaxRecordingMiB) return At(*limit, "recording: limit_mib must be at least 1");
      settings.LimitBytes = static_cast<uint64_t>(mib * 1024 * 1024);
    }
    config.Recording = settings;
    return std::nullopt;
  }

  std::optional<Problem> ReadUnit(const toml::table& table, UnitConfig& unit) {
    const toml::node* name = table.get("name");
    if (name == nullptr) return At(table, "unit: name is required");
    if (auto p = Text(*name, "unit: name", unit.Name)) return p;
    if (unit.Name.empty()) return At(*name, "unit: name must not be empty");
    const std::string where = "unit " + Quoted(unit.Name) + ": ";
    if (auto p = UnknownKey(table, {"name", "address", "interval", "band"}, where)) return p;
    const toml::node* address = table.get("address");
    if (address == nullptr) return At(table, where + "address is required");
    if (auto p = Text(*address, where + "address", unit.Address)) return p;
    if (!ParseServerAddress(unit.Address))
      return At(*address, where + "address must be a host name, an IPv4 address or an IPv6 address in brackets, "
                                  "with an optional :PORT (1-65535), not " + Quoted(unit.Address));
    if (const toml::node* interval = table.get("interval")) {
      if (auto p = Number(*interval, where + "interval", unit.IntervalSeconds)) return p;
      if (unit.IntervalSeconds < kMinIntervalSeconds || unit.IntervalSeconds > kMaxIntervalSeconds) {
        std::ostringstream range;
        range << where << "interval must be " << kMinIntervalSeconds << " to " << kMaxIntervalSeconds << " seconds";
        return At(*interval, range.str());
      }
    }
    if (const toml::node* bands = table.get("band")) {
      const toml::array* list = bands->as_array();
      if (list == nullptr || !list->is_array_of_tables())
        return At(*bands, where + "band must be a list of tables: write each band as [[unit.band]]");
      std::set<std::string> names;
      for (const toml::node& node : *list) {
        BandConfig& band = unit.Bands.emplace_back();
        if (auto p = ReadBand(*node.as_table(), where, band)) return p;
        if (!names.insert(band.Name).second)
          return At(*node.as_table()->get("name"), where + "band " + Quoted(band.Name) + " is named twice");
      }
    }
    return std::nullopt;
  }

  // A pair of edges: both given, the lower first. Nothing when neither is given.
  static std::optional<Problem> Edges(const toml::table& table, const std::string& where, const char* fromKey,
                                      const char* toKey, bool required, std::optional<BandMHz>& band) {
    const toml::node* from = table.get(fromKey);
    const toml::node* to = table.get(toKey);
    if (from == nullptr && to == nullptr && !required) return std::nullopt;
    if (from == nullptr || to == nullptr)
      return At(from != nullptr ? *from : to != nullptr ? *to : static_cast<const toml::node&>(table),
                where + fromKey + " and " + toKey + " go together");
    BandMHz edges;
    if (auto p = Number(*from, where + fromKey, edges.Low)) return p;
    if (auto p = Number(*to, where + toKey, edges.High)) return p;
    if (!(edges.Low < edges.High)) return At(*to, where + toKey + " must be above " + fromKey);
    band = edges;
    return std::nullopt;
  }

  static std::optional<Problem> ReadBand(const toml::table& table, const std::string& unitWhere, BandConfig& band) {
    const toml::node* name = table.get("name");
    if (name == nullptr) return At(table, unitWhere + "band: name is required");
    if (auto p = Text(*name, unitWhere + "band: name", band.Name)) return p;
    if (band.Name.empty()) return At(*name, unitWhere + "band: name must not be empty");
    const std::string where = unitWhere + "band " + Quoted(band.Name) + ": ";
    if (auto p = UnknownKey(table, {"name", "from_mhz", "to_mhz", "noise_from_mhz", "noise_to_mhz", "min_power_db",
                                    "min_cn_db"},
                            where))
      return p;
    std::optional<BandMHz> edges;
    if (auto p = Edges(table, where, "from_mhz", "to_mhz", true, edges)) return p;
    band.Band = *edges;
    if (auto p = Edges(table, where, "noise_from_mhz", "noise_to_mhz", false, band.Noise)) return p;
    for (auto [key, limit] : {std::pair{"min_power_db", &band.Limits.ChannelPowerDb},
                              std::pair{"min_cn_db", &band.Limits.CarrierToNoiseDb}}) {
      const toml::node* node = table.get(key);
      if (node == nullptr) continue;
      double value = 0;
      if (auto p = Number(*node, where + key, value)) return p;
      *limit = value;
    }
    if (band.Limits.CarrierToNoiseDb && !band.Noise)
      return At(*table.get("min_cn_db"), where + "min_cn_db needs a noise band (noise_from_mhz, noise_to_mhz)");
    return std::nullopt;
  }

  const toml::table& root_;
};

}  // namespace

std::optional<ListenAddress> ParseListenAddress(std::string_view text) {
  ListenAddress address;
  std::string_view port;
  if (text.starts_with(':')) {
    port = text.substr(1);
  } else {
    const std::optional<ServerAddress> server = text.find(':') == std::string_view::npos
                                                    ? std::nullopt
                                                    : ParseServerAddress(text);
    if (!server) return std::nullopt;
    if (server->Host == "localhost") {
      address.Host = "127.0.0.1";
    } else if (IsDottedQuad(server->Host) || IsIpv6Literal(server->Host)) {
      address.Host = server->Host;
    } else {
      return std::nullopt;
    }
    address.Port = server->Port;
    return address;
  }
  if (port.empty() || port.size() > 5 || !std::all_of(port.begin(), port.end(), ::isdigit)) return std::nullopt;
  address.Port = std::stoi(std::string(port));
  if (address.Port < 1 || address.Port > 65535) return std::nullopt;
  return address;
}

std::string ParseMonitorConfig(std::string_view text, const std::string& fileName, MonitorConfig& config) {
  config = MonitorConfig{};
  toml::table root;
  try {
    root = toml::parse(text, std::string_view(fileName));
  } catch (const toml::parse_error& error) {
    return fileName + ":" + std::to_string(error.source().begin.line) + ": " + std::string(error.description());
  }
  const std::optional<Problem> problem = Reader(root).Read(config);
  if (!problem) return {};
  config = MonitorConfig{};
  return fileName + ":" + std::to_string(problem->line) + ": " + problem->reason;
}

std::string ReadMonitorConfig(const std::string& path, MonitorConfig& config) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return path + ": cannot be read (" + std::strerror(errno) + ")";
  std::ostringstream text;
  text << file.rdbuf();
  if (file.bad()) return path + ": cannot be read (" + std::strerror(errno) + ")";
  return ParseMonitorConfig(text.str(), path, config);
}

int LinkThreadsFor(const MonitorConfig& config) {
  if (config.LinkThreads > 0) return config.LinkThreads;
  // A poll holds a thread only while it waits for the network, a few tens of milliseconds on
  // a healthy unit and up to the time-outs on a stalled one: one thread for every eight
  // units, at least four, to begin with; the pool grows when stalled units hold them all.
  return std::clamp(static_cast<int>(config.Units.size() + 7) / 8, 4, 96);
}

}  // namespace tavrix::monitor
