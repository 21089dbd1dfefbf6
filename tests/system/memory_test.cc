// An add-on whose statement needs more memory than the process can get, below the limit of the key
// "memory": the statement fails in words, and the add-on goes on.

#include "qxframework/automation/text.h"
#include "testing/file_content.h"
#include "testing/running_addon.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace {

/// Lets this process take so many bytes more.
void limitMemory(rlim_t bytes) {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t limit = pages * static_cast<rlim_t>(getpagesize()) + bytes;
  const rlimit space{limit, limit};
  setrlimit(RLIMIT_AS, &space);
}

/// Returns the words of the failure of a statement; "" if it succeeds.
std::string failureOf(const CComPtr<ICompany>& company, const std::u16string& sql) {
  try {
    CComQIPtr<IRecordset>(company->GetBusinessObject(qx::kRecordset))->DoQuery(CComBSTR(sql));
    return "";
  } catch (const _com_error& error) {
    return qx::toUtf8(error.ErrorMessage());
  }
}

TEST(Memory, AStatementThatFindsNoneFailsAndTheNextOneWorks) {
  constexpr rlim_t kSpace = 64 << 20;
  const qx::test::TempFolder folder;
  const pid_t child = fork();
  if (child == 0) {
    qx::test::RunningAddOn addOn;
    const std::u16string text = u"N'" + std::u16string(9000, u'x') + u"'";
    limitMemory(kSpace);
    // 46,656 rows of 18 KB.
    const std::string failure = failureOf(
        addOn.record.company, u"SELECT A.Code, " + text + u" AS a FROM OFPR A, OFPR B, OFPR C");
    const std::string next = failureOf(addOn.record.company, u"SELECT COUNT(*) FROM OFPR");
    folder.write("said", failure + "\n" + next + "\n");
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(qx::test::contentOf(folder.file("said")), "Not enough memory.\n\n");
}

}  // namespace
