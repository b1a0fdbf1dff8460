#include "companions/con/settings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include "xefile/xefile_status.h"

namespace xe::con {
namespace {

struct Store {
  std::mutex lock;
  bool loaded = false;
  std::string path;
  std::map<std::string, std::string> values;
};

Store &TheStore() {
  static Store store;
  return store;
}

std::string ConfigDir() {
  const char *xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg) return std::string(xdg) + "/xefile";
  const char *home = std::getenv("HOME");
  if (home && *home) return std::string(home) + "/.config/xefile";
  return {};
}

std::string Trim(const std::string &s) {
  size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return {};
  size_t e = s.find_last_not_of(" \t\r");
  return s.substr(b, e - b + 1);
}

// Called with the lock held.
void LoadLocked(Store &st) {
  if (st.loaded) return;
  st.loaded = true;
  st.values.clear();
  std::string dir = ConfigDir();
  st.path = dir.empty() ? std::string() : dir + "/settings.ini";
  if (st.path.empty()) return;
  std::ifstream in(st.path);
  std::string line;
  while (std::getline(in, line)) {
    std::string t = Trim(line);
    if (t.empty() || t[0] == '#' || t[0] == ';' || t[0] == '[') continue;
    size_t eq = t.find('=');
    if (eq == std::string::npos) continue;
    st.values[Trim(t.substr(0, eq))] = Trim(t.substr(eq + 1));
  }
}

// Writes the whole store through a temporary file and a rename, so that a
// reader never sees half a file. Called with the lock held.
bool SaveLocked(const Store &st) {
  if (st.path.empty()) return false;
  std::error_code ec;
  std::filesystem::create_directories(ConfigDir(), ec);
  if (ec) return false;
  std::string tmp = st.path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::trunc);
    if (!out) return false;
    out << "[xefile]\n";
    for (const auto &[k, v] : st.values) out << k << '=' << v << '\n';
    if (!out.flush()) return false;
  }
  return std::rename(tmp.c_str(), st.path.c_str()) == 0;
}

}  // namespace

int32_t XefGetRegistryVal(const char *name, char *text, uint32_t size) {
  if (text && size) text[0] = 0;
  if (!name) return XE_ERR_NULL_ARGUMENT;
  Store &st = TheStore();
  std::lock_guard<std::mutex> g(st.lock);
  LoadLocked(st);
  auto it = st.values.find(name);
  if (it == st.values.end()) return XE_ERR_NOT_SUPPORTED;
  if (text && size) {
    size_t n = std::min<size_t>(it->second.size(), size - 1);
    std::memcpy(text, it->second.data(), n);
    text[n] = 0;
  }
  return XE_OK;
}

int32_t XefSetRegistryVal(const char *name, const char *text) {
  if (!name || !text) return XE_ERR_NULL_ARGUMENT;
  Store &st = TheStore();
  std::lock_guard<std::mutex> g(st.lock);
  LoadLocked(st);
  st.values[Trim(name)] = Trim(text);
  return SaveLocked(st) ? XE_OK : XE_ERR_FILE_WRITE;
}

int32_t XefGetIntAlgoRegistryVal(const char *name, uint32_t *value) {
  if (!value) return XE_ERR_NULL_ARGUMENT;
  *value = 0;
  char text[32];
  if (XefGetRegistryVal(name, text, sizeof text) == XE_OK) {
    *value = static_cast<uint32_t>(std::strtoul(text, nullptr, 0));
  }
  return XE_OK;
}

std::string SettingsPath() {
  Store &st = TheStore();
  std::lock_guard<std::mutex> g(st.lock);
  LoadLocked(st);
  return st.path;
}

void ReloadSettings() {
  Store &st = TheStore();
  std::lock_guard<std::mutex> g(st.lock);
  st.loaded = false;
}

}  // namespace xe::con
