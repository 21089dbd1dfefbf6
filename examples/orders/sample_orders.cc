#include "sample_orders.h"

#include "qxframework/os/message_loop.h"

namespace {

constexpr int kOrders = 28;
constexpr int kAtATime = 7;

}  // namespace

void SampleOrders::Start() {
  m_Running = true;
  m_Progress.OpenInitForm();
  Post();
}

void SampleOrders::Post() {
  qx::postTask([job = weak_from_this()] {
    if (const auto self = job.lock()) self->TakeInSome();
  });
}

void SampleOrders::TakeInSome() {
  try {
    for (int i = 0; i < kAtATime; ++i) {
      ++m_Count;
      const CComBSTR number(qx::format(u"S-%02d", m_Count));
      takeIn(m_Company, {number, u"C1000", {2024, 3, m_Count, 0, 0, 0}, 10.0 * m_Count});
    }
    // One cell of the bar for each order. A full bar begins anew.
    m_Progress.DisplayProgressMessage(m_Text, kAtATime);
    if (m_Count < kOrders) return Post();
    m_Progress.CloseInitForm(true);
  } catch (const Persistence::CQXPersistenceException&) {
    // The layer has logged the reason; the form tells the user that the job has failed.
    m_Progress.CloseInitForm(false);
  }
  m_Running = false;
}
