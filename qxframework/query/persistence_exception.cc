#include "qxframework/query/persistence_exception.h"

namespace Persistence {

CQXPersistenceException::CQXPersistenceException() : CQXPersistenceException(u"Unknown error") {}

CQXPersistenceException::CQXPersistenceException(const OLECHAR* text)
    : CQXPersistenceException(-1, text) {}

CQXPersistenceException::CQXPersistenceException(long code, const OLECHAR* text)
    : m_ErrorString(text), m_ErrorCode(code) {}

CQXPersistenceException::~CQXPersistenceException() = default;

}  // namespace Persistence
