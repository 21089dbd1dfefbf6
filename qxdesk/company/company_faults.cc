#include "qxdesk/company/company_faults.h"

namespace qx::desk {

Text textOf(Fault fault) {
  switch (fault) {
    case Fault::Locked:
      return Text::Locked;
    case Fault::ReadOnly:
      return Text::ReadOnly;
    case Fault::Damaged:
      return Text::Damaged;
    case Fault::NotADatabase:
      return Text::NotADatabase;
    case Fault::Full:
      return Text::DiskFull;
    case Fault::InputOutput:
      return Text::InputOutput;
    case Fault::Moved:
      return Text::Moved;
    case Fault::ConnectionLost:
      return Text::ConnectionLost;
    case Fault::CommitUnknown:
      return Text::CommitUnknown;
    case Fault::RolledBack:
      return Text::RolledBack;
    case Fault::Aborted:
      return Text::Aborted;
    case Fault::Cancelled:
      return Text::Cancelled;
    case Fault::NoRight:
      return Text::NoRight;
    case Fault::BadValue:
      return Text::BadValue;
    case Fault::NoSavepoints:
      return Text::NoSavepoints;
    case Fault::LoginRefused:
      return Text::LoginRefused;
    case Fault::NoDriver:
      return Text::NoDriver;
    case Fault::NoServer:
      return Text::NoServer;
    case Fault::NoDatabase:
      return Text::NoDatabase;
    case Fault::TooManyUsers:
      return Text::TooManyUsers;
    case Fault::TooLong:
      return Text::TooLong;
    case Fault::OutOfRange:
      return Text::OutOfRange;
    case Fault::BadDate:
      return Text::BadDate;
    default:
      return Text::EngineMessage;
  }
}

CompanyFault companyFaultOf(Fault fault) {
  switch (fault) {
    case Fault::Locked:
      return kLockedFault;
    case Fault::Unique:
      return kDuplicateFault;
    default:
      return kOtherFault;
  }
}

CompanyFault companyFaultOf(Text text) { return text == Text::Locked ? kLockedFault : kOtherFault; }

}  // namespace qx::desk
