#include "qxframework/xml/internal/parse.h"

#include "qxframework/automation/input_file.h"
#include "qxframework/xml/internal/fault_collector.h"
#include "qxframework/xml/internal/parse_rules.h"
#include "qxframework/xml/internal/utf.h"

#include <libxml/parser.h>
#include <libxml/uri.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace qx::xml {
namespace {

constexpr HRESULT kFileNotFound = resultCode(0x80070002);

struct FreeParser {
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

// A start tag of this length or less cannot have too many attributes: ` a=''` has five bytes.
constexpr std::size_t kSafeTag = 10'000;

// The tree takes up to fifty times as much memory.
constexpr std::size_t kLongestDocument = 30'000'000;
constexpr char kTooLong[] = "The document is longer than 30000000 bytes.\n";

ParseFault faultWithoutPlace(HRESULT code, std::string reason) {
  return {code, std::move(reason), 0, 0};
}

// The rest of a document that the parser reads piece by piece, so that the rules can end a start
// tag of any length.
struct Pieces {
  std::string_view rest;
  ParseRules& rules;
};

int readPiece(void* context, char* buffer, int size) {
  auto& pieces = *static_cast<Pieces*>(context);
  if (!pieces.rules.admitUnfinishedTag()) return 0;
  const std::size_t taken = pieces.rest.copy(buffer, static_cast<std::size_t>(size));
  pieces.rest.remove_prefix(taken);
  return static_cast<int>(taken);
}

// True unless all start tags are safe. None has a "<" in it, so none is longer than the way from
// one to the next; memrchr skips as many of them at once as it can. In other encodings the byte may
// be a part of another character.
bool mayHaveLongTag(std::string_view bytes, bool utf8) {
  if (!utf8) return bytes.size() > kSafeTag;
  while (bytes.size() > kSafeTag) {
    const void* const last = memrchr(bytes.data() + 1, '<', kSafeTag);
    if (last == nullptr) return true;
    bytes.remove_prefix(static_cast<std::size_t>(static_cast<const char*>(last) - bytes.data()));
  }
  return false;
}

// A long tag is read in pieces, which takes a little longer.
//
// Without XML_PARSE_HUGE, libxml2 bounds the length of texts. XML_PARSE_NOBLANKS would replace the
// handler of white space.
DocumentHandle readDocument(xmlParserCtxt* parser, std::string_view bytes, int options,
                            ParseRules& rules) {
  const bool utf8 = (options & XML_PARSE_IGNORE_ENC) != 0;
  options |= XML_PARSE_NONET;
  if (!mayHaveLongTag(bytes, utf8)) {
    return DocumentHandle(xmlCtxtReadMemory(parser, bytes.data(), static_cast<int>(bytes.size()),
                                            nullptr, nullptr, options));
  }
  rules.expectPieces();
  Pieces pieces{bytes, rules};
  return DocumentHandle(
      xmlCtxtReadIO(parser, readPiece, nullptr, &pieces, nullptr, nullptr, options));
}

ParseResult parseBytes(std::string_view bytes, int options, TagHandler* tags = nullptr) {
  if (bytes.size() > kLongestDocument) return {nullptr, faultWithoutPlace(E_FAIL, kTooLong)};
  // A static, so that the first parse of any thread initialises the library exactly once.
  static const bool initialised = (xmlInitParser(), true);
  static_cast<void>(initialised);
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
  if (parser == nullptr) throw std::bad_alloc();
  FaultCollector collector(parser.get());
  ParseRules rules(parser.get(), collector, tags);
  DocumentHandle document = readDocument(parser.get(), bytes, options, rules);
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

// Returns the `errno` for a file that cannot be read to its end; 0 for a regular file. A pipe or a
// device may block or never end.
int problemOf(const InputFile& file) {
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) return errno;
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
}

// Reads a file, but no more than shows that it is too long. Stores an error in `why`.
std::string readFile(const std::string& path, std::error_code& why) {
  const InputFile file(path);
  int error = problemOf(file);
  std::string bytes;
  char part[65'536];
  while (error == 0 && bytes.size() <= kLongestDocument) {
    const ssize_t size = read(file.get(), part, sizeof part);
    if (size == 0) break;
    if (size > 0) bytes.append(part, static_cast<std::size_t>(size));
    if (size < 0 && errno != EINTR) error = errno;
  }
  why = std::error_code(error, std::generic_category());
  return bytes;
}

}  // namespace

std::optional<std::string> documentBytes(std::u16string_view text, ParseFault& fault) {
  if (text.starts_with(u'\uFEFF')) text.remove_prefix(1);
  if (text.size() > kLongestDocument) {
    fault = faultWithoutPlace(E_FAIL, kTooLong);
    return std::nullopt;
  }
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
