#include "qxframework/automation/system_message.h"

#include <algorithm>
#include <iterator>

namespace qx {
namespace {

struct Row {
  HRESULT code;
  const OLECHAR* sentence;
};

// Ordered by code, for the binary search. Codes that this library never returns itself come from
// hosts and from other components, so they stand here as numbers.
constexpr Row kRows[] = {
    {resultCode(0x8000000A), u"The data is not available yet."},
    {E_NOTIMPL, u"Not implemented."},
    {E_NOINTERFACE, u"No such interface supported."},
    {E_POINTER, u"Invalid pointer."},
    {E_ABORT, u"Operation aborted."},
    {E_FAIL, u"Unspecified error."},
    {E_UNEXPECTED, u"Catastrophic failure."},
    {resultCode(0x80010001), u"The call was rejected by the callee."},
    {resultCode(0x80010105), u"The server threw an exception."},
    {resultCode(0x80010108), u"The object is no longer connected to its client."},
    {resultCode(0x8001010E), u"The object belongs to another thread."},
    {resultCode(0x80020001), u"Unknown interface."},
    {DISP_E_MEMBERNOTFOUND, u"Member not found."},
    {resultCode(0x80020004), u"Parameter not found."},
    {DISP_E_TYPEMISMATCH, u"Type mismatch."},
    {resultCode(0x80020006), u"Unknown name."},
    {resultCode(0x80020007), u"No named arguments."},
    {DISP_E_BADVARTYPE, u"Bad variable type."},
    {resultCode(0x80020009), u"The called operation threw an exception."},
    {DISP_E_OVERFLOW, u"Out of present range."},
    {DISP_E_BADINDEX, u"Invalid index."},
    {resultCode(0x8002000C), u"Unknown language."},
    {resultCode(0x8002000D), u"The array is locked."},
    {resultCode(0x8002000E), u"Invalid number of parameters."},
    {resultCode(0x8002000F), u"The parameter is not optional."},
    {resultCode(0x80020010), u"Invalid callee."},
    {resultCode(0x80020011), u"The object is not a collection."},
    {resultCode(0x80020012), u"Division by zero."},
    {resultCode(0x80020013), u"The buffer is too small."},
    {CLASS_E_NOAGGREGATION, u"The class cannot be a part of another object."},
    {CLASS_E_CLASSNOTAVAILABLE, u"The library does not make this class."},
    {REGDB_E_CLASSNOTREG, u"Class not registered."},
    {resultCode(0x80040155), u"Interface not registered."},
    {resultCode(0x800401E3), u"The operation is unavailable."},
    {resultCode(0x800401F0), u"CoInitialize has not been called."},
    {CO_E_CLASSSTRING, u"Invalid class string."},
    {CO_E_DLLNOTFOUND, u"The library of the class does not load."},
    {resultCode(0x800401FD), u"The object is not connected to the server."},
    {CONNECT_E_NOCONNECTION, u"There is no such connection."},
    {CONNECT_E_ADVISELIMIT, u"No more sinks can be connected."},
    {CONNECT_E_CANNOTCONNECT, u"The sink cannot be connected."},
    {resultCode(0x80070002), u"The file was not found."},
    {resultCode(0x80070003), u"The path was not found."},
    {resultCode(0x80070004), u"Too many files are open."},
    {E_ACCESSDENIED, u"Access is denied."},
    {E_HANDLE, u"The handle is invalid."},
    {E_OUTOFMEMORY, u"Not enough memory."},
    {resultCode(0x80070020), u"Another process uses the file."},
    {resultCode(0x80070032), u"The request is not supported."},
    {resultCode(0x80070050), u"The file exists."},
    {E_INVALIDARG, u"The parameter is incorrect."},
    {resultCode(0x80070070), u"The disk is full."},
    {resultCode(0x8007007A), u"The buffer of the call is too small."},
    {resultCode(0x8007007B), u"The name of the file or folder is incorrect."},
    {resultCode(0x8007007E), u"The module was not found."},
    {resultCode(0x8007007F), u"The procedure was not found."},
    {resultCode(0x800700B7), u"The file exists already."},
    {resultCode(0x800703E3), u"The operation was cancelled by its thread."},
    {resultCode(0x80070490), u"The element was not found."},
    {resultCode(0x800704C7), u"The user cancelled the operation."},
    {resultCode(0x800705B4), u"The time for the operation is over."},
    {resultCode(0x800706BA), u"The server is unavailable."},
    {S_OK, u"The operation completed."},
    {S_FALSE, u"The operation completed, but its answer is no."},
};

static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const Row& a, const Row& b) { return a.code < b.code; }));

}  // namespace

const OLECHAR* systemMessage(HRESULT code) {
  // `long` has 64 bits: a code may arrive without its sign.
  const HRESULT wanted = resultCode(code);
  const auto* row =
      std::lower_bound(std::begin(kRows), std::end(kRows), wanted,
                       [](const Row& candidate, HRESULT value) { return candidate.code < value; });
  return row != std::end(kRows) && row->code == wanted ? row->sentence : nullptr;
}

}  // namespace qx
