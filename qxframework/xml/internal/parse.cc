#include "qxframework/xml/internal/parse.h"

#include "qxframework/xml/internal/fault_collector.h"
#include "qxframework/xml/internal/parse_rules.h"
#include "qxframework/xml/internal/utf.h"

#include <libxml/parser.h>
#include <libxml/uri.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

namespace qx::xml {
namespace {

constexpr HRESULT kFileNotFound = resultCode(0x80070002);

struct FreeParser {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

ParseFault faultWithoutPlace(HRESULT code, std::string reason) {
  return {code, std::move(reason), 0, 0};
}

ParseResult parseBytes(std::string_view bytes, int options, TagHandler* tags = nullptr) {
  if (bytes.size() > std::size_t{std::numeric_limits<int>::max()}) {
    return {nullptr, faultWithoutPlace(E_FAIL, "The document is too long.\n")};
  }
  // A static, so that the first parse of any thread initialises the library exactly once.
  static const bool initialised = (xmlInitParser(), true);
  static_cast<void>(initialised);
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
  if (parser == nullptr) throw std::bad_alloc();
  FaultCollector collector(parser.get());
  ParseRules rules(parser.get(), collector, tags);
  // Without XML_PARSE_HUGE, libxml2 bounds the length of texts. XML_PARSE_NOBLANKS would replace
  // the handler of white space.
  DocumentHandle document(xmlCtxtReadMemory(parser.get(), bytes.data(),
                                            static_cast<int>(bytes.size()), nullptr, nullptr,
                                            XML_PARSE_NONET | options));
  rules.rethrow();
  if (collector.fault().code < 0) return {nullptr, collector.fault()};
  // No error was reported, but there is no document either; that must not pass for an empty one.
  if (document == nullptr) return {nullptr, {E_FAIL, "The document cannot be read.\n", 1, 1}};
  if (tags == nullptr) finishTree(document.get());
  return {std::move(document), {}};
}

// True for "scheme://" before any other slash; a file name may contain "://" after one.
bool hasScheme(const std::string& source) {
  const std::size_t colon = source.find("://");
  return colon != std::string::npos && source.find('/') > colon;
}

// Returns the path in a "file:" URL, without the host; `source` itself if it is not such a URL.
std::string pathOf(const std::string& source) {
  if (!source.starts_with("file:")) return source;
  std::string_view rest = std::string_view(source).substr(5);
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    rest.remove_prefix(std::min(rest.find('/'), rest.size()));
  }
  char* const plain = xmlURIUnescapeString(rest.data(), static_cast<int>(rest.size()), nullptr);
  if (plain == nullptr) throw std::bad_alloc();
  std::string path(plain);
  xmlFree(plain);
  return path;
}

ParseFault cannotRead(const std::string& source, std::error_code why) {
  HRESULT code = E_FAIL;
  if (why == std::errc::no_such_file_or_directory) code = kFileNotFound;
  if (why == std::errc::permission_denied) code = E_ACCESSDENIED;
  return faultWithoutPlace(code, "Cannot read " + source + ": " + why.message() + ".\n");
}

// Reads a whole regular file; stores an error in `why`. Other kinds of files are refused, since a
// pipe or a device may block or never end.
std::string readFile(const std::string& path, std::error_code& why) {
  const auto status = std::filesystem::status(path, why);
  if (why) return {};
  if (!std::filesystem::is_regular_file(status)) {
    why = std::make_error_code(std::filesystem::is_directory(status) ? std::errc::is_a_directory
                                                                     : std::errc::not_supported);
    return {};
  }
  errno = 0;  // the stream does not report why it fails, but the system call beneath it sets this
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) {
    why = std::error_code(errno == 0 ? EIO : errno, std::generic_category());
  }
  return bytes;
}

}  // namespace

std::optional<std::string> documentBytes(std::u16string_view text, ParseFault& fault) {
  if (text.starts_with(u'\uFEFF')) text.remove_prefix(1);
  std::optional<std::string> bytes = strictUtf8(text);
  if (!bytes) {
    fault = faultWithoutPlace(E_FAIL, "The text is no well-formed UTF-16.\n");
  } else if (bytes->find('\0') != std::string::npos) {
    // A zero would end the text for libxml2, and the rest would be ignored without an error.
    fault = faultWithoutPlace(E_FAIL, "The text holds a zero character.\n");
    bytes.reset();
  }
  return bytes;
}

// The bytes of a wide text are UTF-8, for any encoding that its declaration names.
ParseResult parseText(std::u16string_view text) {
  ParseResult out;
  const std::optional<std::string> bytes = documentBytes(text, out.fault);
  return bytes ? parseBytes(*bytes, XML_PARSE_IGNORE_ENC) : std::move(out);
}

// Without a tree nobody but the parser itself can replace the five entities of XML in the values.
ParseFault parseTags(const std::string& utf8, TagHandler& tags) {
  return parseBytes(utf8, XML_PARSE_IGNORE_ENC | XML_PARSE_NOENT, &tags).fault;
}

ParseResult parseFile(const std::string& source) {
  if (hasScheme(source) && !source.starts_with("file:")) {
    return {nullptr, faultWithoutPlace(E_FAIL, "Cannot read " + source + ": not a file.\n")};
  }
  std::error_code why;
  const std::string bytes = readFile(pathOf(source), why);
  if (why) return {nullptr, cannotRead(source, why)};
  return parseBytes(bytes, 0);
}

}  // namespace qx::xml
