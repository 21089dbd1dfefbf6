#pragma once

// A started add-on with its own client, company file and log. Most system tests begin with it.

#include "testing/embedded_client.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"
#include "testing/temp_folder.h"

#include <filesystem>

namespace qx::test {

class RunningAddOn {
 public:
  RunningAddOn() {
    result = addOn.Connect(1);
    record.take();
  }

  TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
  RecordingLogger log;
  EmbeddedClient desk{file};
  Record record;
  RecordingAddOn addOn{desk.connection(), record};
  long result = -1;  // of Connect
};

}  // namespace qx::test
