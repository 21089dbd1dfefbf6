#include "testing/fake_dictionary.h"

#include "testing/scripted_company.h"

#include <algorithm>

namespace qx::test {
namespace {

/// Counts the dictionary objects that exist.
class LiveMetadata {
 public:
  explicit LiveMetadata(ScriptedCompany& company) : company_(company) {
    ++company_.liveMetadata;
    company_.mostMetadata = std::max(company_.mostMetadata, company_.liveMetadata);
  }
  ~LiveMetadata() { --company_.liveMetadata; }
  LiveMetadata(const LiveMetadata&) = delete;
  LiveMetadata& operator=(const LiveMetadata&) = delete;

 private:
  ScriptedCompany& company_;
};

/// Returns the entry with the number `index`, from 0, among those of `table`, which is named with
/// its "@"; the end of the list if there are not so many.
template <class Entry>
auto nthOf(std::vector<Entry>& list, std::u16string_view table, long index) {
  return std::find_if(list.begin(), list.end(), [&](const Entry& each) {
    return u"@" + each.table == table && index-- == 0;
  });
}

class FakeUserTables final : public StubUserTablesMD {
 public:
  explicit FakeUserTables(ScriptedCompany& company) : company_(company), live_(company) {}

  HRESULT raw_GetByKey(BSTR name, VARIANT_BOOL* out) override {
    *out = has(viewOfBstr(name)) ? VARIANT_TRUE : VARIANT_FALSE;
    return company_.calls.record("Tables.GetByKey", narrow(name));
  }
  HRESULT raw_PutTableName(BSTR name) override {
    table_.name = viewOfBstr(name);
    return company_.calls.record("Tables.PutTableName", narrow(name));
  }
  HRESULT raw_PutTableDescription(BSTR text) override {
    table_.description = viewOfBstr(text);
    return company_.calls.record("Tables.PutTableDescription", narrow(text));
  }
  HRESULT raw_PutTableType(long type) override {
    table_.type = type;
    return company_.calls.record("Tables.PutTableType", std::to_string(type));
  }
  HRESULT raw_Add(long* out) override {
    const HRESULT hr = company_.calls.record("Tables.Add", toUtf8(table_.name));
    if (hr < 0) return hr;
    *out = company_.refuse("Tables.Add", has(table_.name));
    if (*out == 0) company_.tables.push_back(table_);
    return hr;
  }

 private:
  bool has(std::u16string_view name) const {
    return std::any_of(company_.tables.begin(), company_.tables.end(),
                       [name](const FakeTable& each) { return each.name == name; });
  }

  ScriptedCompany& company_;
  LiveMetadata live_;
  FakeTable table_;
};

class FakeValidValuesOfField final : public StubValidValuesMD {
 public:
  FakeValidValuesOfField(HostCalls& calls, FakeUserField& field) : calls_(calls), field_(field) {}

  HRESULT raw_PutValue(BSTR value) override {
    entry_.first = viewOfBstr(value);
    return calls_.record("ValidValues.PutValue", narrow(value));
  }
  HRESULT raw_PutDescription(BSTR text) override {
    entry_.second = viewOfBstr(text);
    return calls_.record("ValidValues.PutDescription", narrow(text));
  }
  HRESULT raw_Add() override {
    field_.validValues.push_back(std::exchange(entry_, {}));
    return calls_.record("ValidValues.Add", "");
  }

 private:
  HostCalls& calls_;
  FakeUserField& field_;
  std::pair<std::u16string, std::u16string> entry_;
};

class FakeUserFields final : public StubUserFieldsMD {
 public:
  explicit FakeUserFields(ScriptedCompany& company) : company_(company), live_(company) {}

  HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) override {
    const HRESULT hr =
        company_.calls.record("Fields.GetByKey", narrow(table) + ", " + std::to_string(index));
    const auto found = nthOf(company_.fields, viewOfBstr(table), index);
    *out = found == company_.fields.end() ? VARIANT_FALSE : VARIANT_TRUE;
    if (found != company_.fields.end()) field_ = *found;
    return hr;
  }
  HRESULT raw_PutTableName(BSTR name) override { return put("PutTableName", field_.table, name); }
  HRESULT raw_PutName(BSTR name) override { return put("PutName", field_.name, name); }
  HRESULT raw_GetName(BSTR* out) override {
    const HRESULT hr = company_.calls.record("Fields.GetName", "");
    return hr < 0 ? hr : giveText(field_.name, out);
  }
  HRESULT raw_PutDescription(BSTR text) override {
    return put("PutDescription", field_.description, text);
  }
  HRESULT raw_PutType(long type) override { return put("PutType", field_.type, type); }
  HRESULT raw_PutSubType(long type) override { return put("PutSubType", field_.subType, type); }
  HRESULT raw_PutSize(long size) override {
    const HRESULT hr = put("PutSize", field_.size, size);
    field_.size = std::min(size, company_.largestSize);
    return hr;
  }
  HRESULT raw_GetSize(long* out) override {
    *out = field_.size;
    return company_.calls.record("Fields.GetSize", "");
  }
  HRESULT raw_PutEditSize(long size) override { return put("PutEditSize", field_.editSize, size); }
  HRESULT raw_PutMandatory(long mandatory) override {
    return put("PutMandatory", field_.mandatory, mandatory);
  }
  HRESULT raw_PutDefaultValue(BSTR value) override {
    return put("PutDefaultValue", field_.defaultValue, value);
  }
  HRESULT raw_PutLinkedTable(BSTR table) override {
    return put("PutLinkedTable", field_.linkedTable, table);
  }
  HRESULT raw_GetValidValues(IValidValuesMD** out) override {
    return giveObject<IValidValuesMD>(makeObject<FakeValidValuesOfField>(company_.calls, field_).p,
                                      out);
  }
  HRESULT raw_Add(long* out) override {
    const HRESULT hr = company_.calls.record("Fields.Add", toUtf8(field_.name));
    if (hr < 0) return hr;
    *out = company_.refuse("Fields.Add", find() != company_.fields.end());
    if (*out == 0) company_.fields.push_back(field_);
    return hr;
  }
  HRESULT raw_Update(long* out) override {
    const HRESULT hr = company_.calls.record("Fields.Update", toUtf8(field_.name));
    if (hr < 0) return hr;
    *out = company_.refuse("Fields.Update", false);
    const auto found = find();
    if (*out == 0 && found != company_.fields.end()) *found = field_;
    return hr;
  }

 private:
  std::vector<FakeUserField>::iterator find() {
    return std::find_if(company_.fields.begin(), company_.fields.end(), [this](const auto& each) {
      return each.table == field_.table && each.name == field_.name;
    });
  }
  HRESULT put(const std::string& operation, std::u16string& member, BSTR text) {
    member = viewOfBstr(text);
    return company_.calls.record("Fields." + operation, narrow(text));
  }
  HRESULT put(const std::string& operation, long& member, long number) {
    member = number;
    return company_.calls.record("Fields." + operation, std::to_string(number));
  }

  ScriptedCompany& company_;
  LiveMetadata live_;
  FakeUserField field_;
};

class FakeKeyElements final : public StubUserKeysMD_Elements {
 public:
  FakeKeyElements(HostCalls& calls, FakeUserKey& key) : calls_(calls), key_(key) {}

  HRESULT raw_PutColumnAlias(BSTR alias) override {
    alias_ = viewOfBstr(alias);
    return calls_.record("Elements.PutColumnAlias", narrow(alias));
  }
  HRESULT raw_Add() override {
    key_.columns.push_back(alias_);
    return calls_.record("Elements.Add", "");
  }

 private:
  HostCalls& calls_;
  FakeUserKey& key_;
  std::u16string alias_;
};

class FakeUserKeys final : public StubUserKeysMD {
 public:
  explicit FakeUserKeys(ScriptedCompany& company) : company_(company), live_(company) {}

  HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) override {
    const HRESULT hr =
        company_.calls.record("Keys.GetByKey", narrow(table) + ", " + std::to_string(index));
    const auto found = nthOf(company_.keys, viewOfBstr(table), index);
    *out = found == company_.keys.end() ? VARIANT_FALSE : VARIANT_TRUE;
    if (found != company_.keys.end()) key_ = *found;
    return hr;
  }
  HRESULT raw_GetKeyName(BSTR* out) override { return giveText(key_.name, out); }
  HRESULT raw_PutKeyName(BSTR name) override {
    key_.name = viewOfBstr(name);
    return company_.calls.record("Keys.PutKeyName", narrow(name));
  }
  HRESULT raw_PutTableName(BSTR name) override {
    key_.table = viewOfBstr(name);
    return company_.calls.record("Keys.PutTableName", narrow(name));
  }
  HRESULT raw_PutUnique(long unique) override {
    key_.unique = unique;
    return company_.calls.record("Keys.PutUnique", std::to_string(unique));
  }
  HRESULT raw_GetElements(IUserKeysMD_Elements** out) override {
    return giveObject<IUserKeysMD_Elements>(makeObject<FakeKeyElements>(company_.calls, key_).p,
                                            out);
  }
  HRESULT raw_Add(long* out) override {
    const HRESULT hr = company_.calls.record("Keys.Add", toUtf8(key_.name));
    if (hr < 0) return hr;
    *out = company_.refuse("Keys.Add", find() != company_.keys.end());
    if (*out == 0) company_.keys.push_back(key_);
    return hr;
  }
  HRESULT raw_Remove(long* out) override {
    const HRESULT hr = company_.calls.record("Keys.Remove", toUtf8(key_.name));
    if (hr < 0) return hr;
    *out = company_.refuse("Keys.Remove", false);
    if (const auto found = find(); *out == 0 && found != company_.keys.end())
      company_.keys.erase(found);
    return hr;
  }

 private:
  std::vector<FakeUserKey>::iterator find() {
    return std::find_if(company_.keys.begin(), company_.keys.end(), [this](const auto& each) {
      return each.table == key_.table && each.name == key_.name;
    });
  }

  ScriptedCompany& company_;
  LiveMetadata live_;
  FakeUserKey key_;
};

/// Returns the text between `head` and the next quote, an empty text if `head` is not there.
std::u16string quotedAfter(std::u16string_view text, std::u16string_view head) {
  const std::size_t start = text.find(head);
  if (start == std::u16string_view::npos) return {};
  const std::u16string_view rest = text.substr(start + head.size());
  return std::u16string(rest.substr(0, rest.find(u'\'')));
}

/// Returns the text that a statement compares with `column`; db2 and kordb put its name in quotes.
std::u16string comparedWith(std::u16string_view statement, const std::u16string& column) {
  return quotedAfter(statement, column + u" = '") +
         quotedAfter(statement, u"\"" + column + u"\" = '");
}

}  // namespace

const FakeUserField* FakeDictionary::field(std::u16string_view name) const {
  for (const FakeUserField& each : fields)
    if (each.name == name) return &each;
  return nullptr;
}

const FakeUserKey* FakeDictionary::key(std::u16string_view name) const {
  for (const FakeUserKey& each : keys)
    if (each.name == name) return &each;
  return nullptr;
}

bool FakeDictionary::isFieldLookUp(std::u16string_view statement) {
  return statement.find(u" FROM CUFD WHERE ") != std::u16string_view::npos;
}

ScriptedRows FakeDictionary::lookUpField(std::u16string_view statement) const {
  // A statement names a user table with its "@" and a table of the host without one.
  std::u16string table = comparedWith(statement, u"TableID");
  if (table.starts_with(u'@')) table.erase(0, 1);
  const std::u16string name = comparedWith(statement, u"AliasID");
  ScriptedRows rows;
  for (std::size_t i = 0; i < fields.size(); ++i)
    if (fields[i].table == table && fields[i].name == name)
      rows.rows.push_back({CComVariant(static_cast<long>(i))});
  return rows;
}

CComPtr<IUserTablesMD> makeUserTables(ScriptedCompany& company) {
  return makeObject<FakeUserTables>(company).p;
}

CComPtr<IUserFieldsMD> makeUserFields(ScriptedCompany& company) {
  return makeObject<FakeUserFields>(company).p;
}

CComPtr<IUserKeysMD> makeUserKeys(ScriptedCompany& company) {
  return makeObject<FakeUserKeys>(company).p;
}

}  // namespace qx::test
