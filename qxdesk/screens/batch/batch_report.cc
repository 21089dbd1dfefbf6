#include "qxdesk/screens/batch/batch_report.h"

#include "qxframework/automation/text.h"
#include "qxframework/logging/result_names.h"

#include <utility>

namespace qx::screens {
namespace {

// Written by hand: an attribute value needs nothing but these, and a detail may quote any text of
// the add-on's document. A parser would turn bare tabs and line ends in an attribute into blanks.
std::u16string_view entityOf(char16_t unit) {
  switch (unit) {
    case u'&':
      return u"&amp;";
    case u'<':
      return u"&lt;";
    case u'>':
      return u"&gt;";
    case u'"':
      return u"&quot;";
    case u'\t':
      return u"&#9;";
    case u'\n':
      return u"&#10;";
    case u'\r':
      return u"&#13;";
    default:
      return {};
  }
}

void write(std::u16string& out, std::u16string_view name, std::u16string_view value) {
  out.append(u" ").append(name).append(u"=\"");
  for (const char16_t unit : value) {
    const std::u16string_view entity = entityOf(unit);
    if (entity.empty()) {
      out += unit;
    } else {
      out += entity;
    }
  }
  out += u'"';
}

void write(std::u16string& out, std::u16string_view name, long value) {
  write(out, name, toUtf16(std::to_string(value)));
}

void write(std::u16string& out, const BatchError& error) {
  // Attributes that do not apply are left out; by that a reader knows the kind of the error.
  out += u"<error";
  if (error.action != 0) {
    write(out, u"action", error.action);
    write(out, u"type", error.type);
  }
  if (error.entry != 0) {
    write(out, u"entry", error.entry);
    write(out, u"uid", error.uid);
  }
  if (error.place.line != 0) {
    write(out, u"line", error.place.line);
    write(out, u"column", error.place.column);
  }
  write(out, u"code", error.code);
  write(out, u"text", resultSentence(error.code));
  if (!error.detail.empty()) write(out, u"detail", error.detail);
  out += u"/>";
}

}  // namespace

void BatchReport::beginAction(std::u16string_view type, const Place& place) {
  current_ = BatchError();  // the entries count anew
  current_.action = ++actions_;
  current_.type = type;
  current_.place = place;
}

void BatchReport::beginEntry(std::u16string_view uid, const Place& place) {
  ++current_.entry;
  current_.uid = uid;
  current_.place = place;
}

void BatchReport::fail(HRESULT code, std::u16string_view detail) {
  fail(code, detail, current_.place);
}

void BatchReport::fail(HRESULT code, std::u16string_view detail, const Place& place) {
  BatchError error = current_;
  error.code = code;
  error.detail = detail;
  error.place = place;
  errors_.push_back(std::move(error));
}

void BatchReport::failDocument(HRESULT code, std::u16string_view detail, const Place& place) {
  current_ = BatchError();  // such an error belongs to no action
  fail(code, detail, place);
}

std::u16string BatchReport::xml() const {
  std::u16string out = u"<result";
  write(out, u"actions", actions_);
  write(out, u"applied", applied_);
  write(out, u"failed", static_cast<long>(errors_.size()));
  if (errors_.empty()) return out + u"/>";
  out += u"><errors>";
  for (const BatchError& error : errors_) write(out, error);
  return out + u"</errors></result>";
}

}  // namespace qx::screens
