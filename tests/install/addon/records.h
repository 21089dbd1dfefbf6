#pragma once

#include <string>

class ICompany;

/// Without a company the records refuse, in words that go through the library.
bool recordsRefuseWithoutACompany();

/// Writes notes into the add-on's table, reads them by both kinds of proxies and tells what it saw.
std::u16string useRecords(ICompany* company);
