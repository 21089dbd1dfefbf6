#pragma once

#include <string>

class ICompany;

/// Returns true if a proxy without a company throws a CQXPersistenceException, which shows that the
/// exceptions of the library can be caught outside of it.
bool recordsRefuseWithoutACompany();

/// Writes notes into the add-on's table and reads them by both kinds of proxies. Returns the notes
/// that were read and the refusal of a second Connect.
std::u16string useRecords(ICompany* company);
