#include "Vondrel/Utilities/Multithreading/CriticalSection.h"

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"
#include "Vondrel/Utilities/Exceptions/Location.h"

namespace Vondrel::Utilities::Multithreading {

CriticalSection::CriticalSection() : section(Platform::NamedLock::Make("", false))
{
    if (!section)
        throw Exceptions::InvalidArgumentException("handle is NULL",
                                                   THROW_LOCATION("CriticalSection", "CriticalSection"));
}

void CriticalSection::Lock()
{
    section->Acquire(std::nullopt);
}

bool CriticalSection::TryLock(std::int32_t)
{
    throw std::runtime_error("CriticalSection::TryLock: not yet implemented (TryEnterCriitcalSection not exists on  "
                             "Win9X)");
}

void CriticalSection::Unlock()
{
    section->Release();
}

}
