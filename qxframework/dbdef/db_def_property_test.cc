// Random definitions, each run twice against a company with a dictionary: the second run changes
// nothing that exists. Also a definition without one attribute after the other.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"
#include "testing/cases.h"

#include <random>

namespace {

using namespace qx::test;

// Makes valid definitions that vary in their content and its order.
class DefinitionMaker {
 public:
  explicit DefinitionMaker(unsigned seed) : random_(seed) {}

  std::string make() {
    text_ = "<database>";
    repeat(1, 3, [this] { group(); });
    return text_ + "</database>";
  }
  std::size_t rows() const { return rows_; }

 private:
  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
  template <class Body>
  void repeat(int least, int most, Body body) {
    for (int left = least + below(most - least + 1); left > 0; --left) body();
  }
  // Few names, so that some tables and fields appear twice in a definition.
  std::string name(char kind) { return kind + std::to_string(below(6)); }
  void noise() {
    if (below(4) == 0) text_ += "<!-- noise -->";
    if (below(8) == 0) text_ += "<noise/>";
  }

  void group() {
    const std::string tag = below(4) == 0 ? "tables" : "usertables";
    text_ += "<" + tag + ">";
    repeat(0, 4, [this] { table(); });
    text_ += "</" + tag + ">";
  }
  void table() {
    noise();
    const std::string tag = below(2) == 0 ? "table" : "usertable";
    text_ += "<" + tag + " TableName=\"" + name('T') + "\" TableDescription=\"d\">";
    repeat(0, 4, [this] {
      noise();
      const int kind = below(3);
      if (kind == 0) fields();
      if (kind == 1) keys();
      if (kind == 2) data();
    });
    text_ += "</" + tag + ">";
  }
  void fields() {
    constexpr const char* kTypes[] = {"ID",   "INT",  "NUMC", "CHAR", "CURR", "FLOAT",
                                      "PERC", "FLAG", "DATE", "TIME", "MEMO"};
    text_ += "<userfields>";
    repeat(0, 5, [&] {
      noise();
      text_ += "<userfield Name=\"" + name('F') + "\" Size=\"5\" Type=\"" +
               kTypes[below(std::size(kTypes))] + "\"/>";
    });
    text_ += "</userfields>";
  }
  void keys() {
    text_ += "<userkeys>";
    repeat(0, 3, [this] { text_ += "<k Name=\"" + name('K') + "\"><c Name=\"F1\"/></k>"; });
    text_ += "</userkeys>";
  }
  void data() {
    text_ += "<data>";
    repeat(0, 3, [this] {
      noise();
      text_ += "<row F1=\"" + std::to_string(below(100)) + "\"/>";
      ++rows_;
    });
    text_ += "</data>";
  }

  std::mt19937 random_;
  std::string text_;
  std::size_t rows_ = 0;
};

class DbDefProperty : public DbDefTest {
 protected:
  std::size_t inserts() const {
    std::size_t count = 0;
    for (const std::string& each : statements())
      if (each.starts_with("insert into ")) ++count;
    return count;
  }
};

TEST_F(DbDefProperty, ASecondRunAddsNothingButRows) {
  // About a second of CPU time; a factor of 1.5 gives the former 300 definitions.
  const auto definitions = static_cast<unsigned>(cases(200));
  for (unsigned seed = 1; seed <= definitions; ++seed) {
    company->tables.clear();
    company->fields.clear();
    company->keys.clear();
    company->serverType = kServerTypes[seed % std::size(kServerTypes)];
    DefinitionMaker maker(seed);
    const std::string definition = maker.make();

    calls.calls.clear();
    ASSERT_EQ(create(definition, false), S_OK) << "seed " << seed << "\n" << definition;
    const auto tables = company->tables;
    const auto fields = company->fields;
    const auto keys = company->keys;
    EXPECT_EQ(inserts(), maker.rows()) << "seed " << seed;

    calls.calls.clear();
    ASSERT_EQ(create(definition, false), S_OK) << "seed " << seed << "\n" << definition;
    EXPECT_EQ(company->tables, tables) << "seed " << seed;
    EXPECT_EQ(company->fields, fields) << "seed " << seed;
    EXPECT_EQ(company->keys, keys) << "seed " << seed;
    EXPECT_EQ(inserts(), maker.rows()) << "seed " << seed;
    EXPECT_THAT(stamps(), testing::ElementsAre("Upgrading", "Installed"));
  }
  EXPECT_EQ(company->mostMetadata, 1);
  EXPECT_EQ(company->mostMetadataAtStatement, 0);
}

// Every attribute has a text that no other one has.
constexpr const char* kWhole =
    "<database><usertables><usertable TableName=\"T\" TableDescription=\"td\" "
    "TableType=\"Document\"><userfields><userfield Name=\"F\" Description=\"fd\" Type=\"CHAR\" "
    "Size=\"5\" DefaultValue=\"dv\" LinkedTable=\"L\" Mandatory=\"1\"><ValidValues>"
    "<ValidValue Value=\"v\" Description=\"vd\"/></ValidValues></userfield></userfields>"
    "<userkeys><k Name=\"K\" Unique=\"1\"><c Name=\"C\"/></k></userkeys></usertable>"
    "</usertables></database>";

TEST_F(DbDefProperty, OnlyRequiredAttributesFailTheRunIfMissing) {
  const std::vector<std::pair<std::string, std::string>> complaintWithout{
      {" TableName=\"T\"", "1 Table name not provided.\n"},
      {" TableDescription=\"td\"", ""},
      {" TableType=\"Document\"", ""},
      {" Name=\"F\"", "1 Field name not provided for table: 'T'.\n"},
      {" Description=\"fd\"", ""},
      {" Type=\"CHAR\"", "1 Field type not provided for table: 'T'.\n"},
      {" Size=\"5\"", "1 Size not provided for 'F'.\n"},
      {" DefaultValue=\"dv\"", ""},
      {" LinkedTable=\"L\"", ""},
      {" Mandatory=\"1\"", ""},
      {" Value=\"v\"", ""},
      {" Description=\"vd\"", ""},
      {" Name=\"K\"", ""},
      {" Unique=\"1\"", ""},
      {" Name=\"C\"", ""},
  };
  for (const auto& [attribute, complaint] : complaintWithout) {
    std::string definition = kWhole;
    ASSERT_NE(definition.find(attribute), std::string::npos) << attribute;
    definition.erase(definition.find(attribute), attribute.size());
    company->tables.clear();
    company->fields.clear();
    company->keys.clear();
    logger.records.clear();
    EXPECT_EQ(create(definition), complaint.empty() ? S_OK : E_FAIL) << attribute;
    const auto all = complaints();
    EXPECT_EQ(all.empty() ? "" : all.front(), complaint) << attribute;
  }
}

}  // namespace
