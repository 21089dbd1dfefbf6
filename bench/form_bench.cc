// Measures forms on the embedded client: the creation of a form of 200 items against LoadXML of its
// document alone, with the number of calls to the client; a choose list of 10,000 rows, whose own
// parts are timed by their log lines; and the memory after 10,000 forms.

#include "bench/bench_addon.h"
#include "bench/form_text.h"
#include "bench/measure.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/stock/choose_list.h"
#include "qxframework/xml/dom.h"
#include "testing/embedded_client.h"
#include "testing/recording_logger.h"
#include "testing/temp_folder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kItems = 200;
constexpr int kRounds = 100;
constexpr int kRows = 10'000;
constexpr int kForms = 10'000;

class LabelForm final : public qx::bench::IdleForm {
 public:
  LabelForm(const CQXAddOn* addOn, const CComBSTR& text, const std::vector<XMLMAP>& map)
      : IdleForm(addOn), map_(map) {
    m_bstrXML = text;
  }
  void InitXMLMap() override { m_vecXMLMap = map_; }
  CComBSTR uid() { return m_ptrForm->GetUniqueID(); }

 private:
  const std::vector<XMLMAP>& map_;
};

/// Takes the time between the first and the last log line of a function.
class FunctionTimes {
 public:
  explicit FunctionTimes(qx::test::RecordingLogger& log) : log_(log) {
    log_.onRecord = [this](const qx::test::LogRecord& record) {
      const auto now = std::chrono::steady_clock::now();
      if (record.message == u"Entering function\n")
        entered_[record.function] = now;
      else if (record.message.starts_with(u"Leaving function"))
        last_[record.function] =
            std::chrono::duration<double>(now - entered_[record.function]).count();
      log_.records.clear();
    };
  }
  double of(const char16_t* function) { return last_[function]; }

 private:
  qx::test::RecordingLogger& log_;
  std::map<std::u16string, std::chrono::steady_clock::time_point> entered_;
  std::map<std::u16string, double> last_;
};

long residentKilobytes() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

class Bench {
 public:
  Bench() {
    if (addOn.Connect(1) != 0) throw std::runtime_error("form_bench: no client");
    addOn.handler->attaches = false;
    qx::raiseIfFailed(qx::createInstance(qx::desk::kScreensGateClass, CLSCTX_ALL, &gate.p));
  }
  void createForms() {
    const CComBSTR text(qx::bench::formText(kItems));
    const std::vector<XMLMAP> map = qx::bench::formMap(kItems);
    std::string uid;
    const auto create = [&] {
      uid = qx::toUtf8(qx::openForm(std::make_unique<LabelForm>(&addOn, text, map),
                                    addOn.handler->app, addOn.handler->company)
                           ->uid()
                           .View());
    };
    gate->RefuseCall(0, S_OK);
    create();
    long calls = 0;
    gate->GetCallCount(&calls);
    client.closeForm(uid);
    double ours = 1e9;
    double load = 1e9;
    for (int round = 0; round < kRounds; ++round) {
      ours = std::min(ours, qx::bench::seconds(create));
      client.closeForm(uid);
      load = std::min(load, qx::bench::seconds([&] {
                        CComPtr<IXMLDOMDocument> document;
                        CQXResourceLoader().LoadXML(1, text, document, &map, ln_English);
                      }));
    }
    std::printf("create-form: %.0f us with %ld calls to the client, LoadXML alone %.0f us\n",
                ours * 1e6, calls, load * 1e6);
    qx::bench::printRatio("create-form", ours / load);
  }
  void chooseList() {
    qx::test::RecordingLogger log;
    FunctionTimes times(log);
    qx::bench::IdleForm parent(&addOn);
    // Ten thousand rows: each combination of four digits, with names in another order than the
    // keys.
    std::u16string digits = u"(SELECT '0' AS t";
    for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
      digits += u" UNION ALL SELECT '" + std::u16string(1, digit) + u"'";
    }
    digits += u")";
    const std::u16string sql =
        u"SELECT 'K' + a.t + b.t + c.t + d.t AS No, 'Name ' + d.t + b.t + a.t + c.t AS Name, "
        u"'Town ' + c.t + d.t AS Town, 'Street ' + b.t AS Street FROM " +
        digits + u" AS a, " + digits + u" AS b, " + digits + u" AS c, " + digits + u" AS d";
    std::vector<CComBSTR> names;
    for (int i = 0; i < kRows; ++i) {
      const std::u16string key = qx::format(u"%04d", i);
      names.emplace_back(std::u16string(u"Name ") + key[3] + key[1] + key[0] + key[2]);
    }
    const double open = qx::bench::seconds([&] { openList(parent, sql); });
    const std::string uid = "QX_FCL_1";
    const double click = qx::bench::seconds([&] { client.clickCell(uid, "10805", "10800020", 0); });
    const double sort = times.of(u"CFrmAddOnChooseList::SortMatrix");
    const double peer = qx::bench::seconds([&] {
      std::vector<CComBSTR> sorted = names;
      std::stable_sort(sorted.begin(), sorted.end());
      qx::bench::keep(sorted.data());
    });
    client.type(uid, "10804", "Name 0999");
    std::printf(
        "choose list of %d rows: open %.0f ms, click on a head %.0f ms, of it sort %.1f ms "
        "(std::stable_sort %.1f ms), find of a key press %.3f ms\n",
        kRows, open * 1e3, click * 1e3, sort * 1e3, peer * 1e3,
        times.of(u"CFrmAddOnChooseList::MatrixFindRow") * 1e3);
    qx::bench::printRatio("choose-sort", sort / peer);
    client.press(uid, "2");
  }
  void manyForms() {
    const CComBSTR text(qx::bench::formText(5));
    const std::vector<XMLMAP> map = qx::bench::formMap(5);
    for (int i = 0; i < kForms; ++i) {
      if (i == kForms / 10) std::printf("memory after %d forms: %ld KB", i, residentKilobytes());
      const CComBSTR uid = qx::openForm(std::make_unique<LabelForm>(&addOn, text, map),
                                        addOn.handler->app, addOn.handler->company)
                               ->uid();
      client.closeForm(qx::toUtf8(uid.View()));
    }
    std::printf(", after %d: %ld KB\n", kForms, residentKilobytes());
  }

 private:
  void openList(CQXAddOnForm& parent, const std::u16string& sql) {
    CQXChooseList::GetKey(u"Rows", u"", CComBSTR(sql), false, false, &parent, addOn.handler->app,
                          addOn.handler->company, true, false, nullptr);
  }

  qx::test::TempFolder folder_;
  qx::test::EmbeddedClient client{folder_.path() / "company.db"};
  qx::bench::BenchAddOn addOn{client.connection(), u"BENCH", u""};
  CComPtr<qx::desk::ICallGate> gate;
};

}  // namespace

int main() {
  if (!qx::createLogger()) return std::fprintf(stderr, "form_bench: is QX_REGISTRY set?\n"), 1;
  Bench bench;
  bench.createForms();
  bench.chooseList();
  bench.manyForms();
  return 0;
}
