#include "qxdesk/program/page_in_one_file.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace qx::desk {
namespace {

// How a module of the page names another one.
constexpr std::string_view kImport = "from \"./";
// A module in the address of an import map has no place of its own, so "./x.js" means nothing in
// it. A bare name does.
constexpr std::string_view kBareImport = "from \"page/";

std::string_view contentOf(std::span<const web::PageFile> files, std::string_view name) {
  const auto at = std::find_if(files.begin(), files.end(),
                               [name](const web::PageFile& file) { return file.name == name; });
  if (at == files.end()) throw std::logic_error("the page has no file " + std::string(name));
  return at->content;
}

std::string percentEncoded(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size() * 2);
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                         (byte >= '0' && byte <= '9');
    if (isPlain) {
      out += each;
    } else {
      out += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
  }
  return out;
}

// The modules by name, with bare imports.
class Modules {
 public:
  explicit Modules(std::span<const web::PageFile> files) : files_(files) {}

  void add(const std::string& name) {
    if (sources_.contains(name)) return;
    std::string& source = sources_[name];
    std::string_view rest = contentOf(files_, name);
    for (std::size_t at = rest.find(kImport); at != rest.npos; at = rest.find(kImport)) {
      source += rest.substr(0, at);
      source += kBareImport;
      rest.remove_prefix(at + kImport.size());
      add(std::string(rest.substr(0, rest.find('"'))));
    }
    source += rest;
  }

  std::string importMap() const {
    std::string map;
    for (const auto& [name, source] : sources_) {
      if (!map.empty()) map += ",\n";
      map += "\"page/" + name + "\": \"data:text/javascript;charset=utf-8," +
             percentEncoded(source) + "\"";
    }
    return "{\"imports\": {\n" + map + "\n}}";
  }

 private:
  std::span<const web::PageFile> files_;
  std::map<std::string, std::string> sources_;  // a reference to one stays while others are added
};

// JSON may write "<" as an escape, and so no text of the data ends its element.
std::string withoutMarkup(std::string_view json) {
  std::string out;
  for (const char each : json) {
    if (each == '<') {
      out += "\\u003C";
    } else {
      out += each;
    }
  }
  return out;
}

}  // namespace

std::string pageInOneFile(std::span<const web::PageFile> files, const std::string& name,
                          std::string_view data) {
  Modules modules(files);
  modules.add(name + ".js");
  std::string out =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<style>\n";
  for (const std::string& sheet : {std::string("style"), std::string("items"), name})
    out += contentOf(files, sheet + ".css");
  out += "</style>\n<script type=\"importmap\">\n" + modules.importMap() + "\n</script>\n";
  out += "<script type=\"application/json\" id=\"data\">" + withoutMarkup(data) + "</script>\n";
  out += "<script type=\"module\">import \"page/" + name + ".js\";</script>\n";
  return out +
         "</head>\n<body>\n<noscript>This page needs JavaScript.</noscript>\n</body>\n</html>\n";
}

}  // namespace qx::desk
