// The calling thread's current cancellation.
#include "Cancellation.h"

namespace {
thread_local const Cancellation* currentCancellation = nullptr;
}

const Cancellation* Cancellation::current() noexcept
{
    return currentCancellation;
}

Cancellation::Scope::Scope(std::shared_ptr<const Cancellation> cancellation)
    : m_cancellation(std::move(cancellation)), m_previous(currentCancellation)
{
    currentCancellation = m_cancellation.get();
}

Cancellation::Scope::~Scope()
{
    currentCancellation = m_previous;
}
