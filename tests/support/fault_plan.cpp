#include <tests/support/fault_plan.h>

#include <array>
#include <cerrno>

namespace qel::test {

namespace {

using platform::Operation;

/// Returns errors that the operation has in practice; the number of the operation selects one of them.
std::array<int, 2> errorsOf(Operation operation) {
    switch (operation) {
    case Operation::Open:
        return {EMFILE, EACCES};
    case Operation::Write:
    case Operation::Sync:
    case Operation::SetSize:
        return {ENOSPC, EIO};
    case Operation::Rename:
    case Operation::MakeFolder:
    case Operation::MakeLink:
        return {EACCES, ENOSPC};
    case Operation::Remove:
    case Operation::SetMode:
    case Operation::SetOwner:
    case Operation::SetTime:
    case Operation::ReadLink:
    case Operation::Bind:
    case Operation::Connect:
        return {EACCES, EPERM};
    case Operation::ReadStatus:
        return {EACCES, EIO};
    case Operation::Map:
    case Operation::Wait:
        return {ENOMEM, ENOMEM};
    case Operation::Lock:
        return {ENOLCK, EIO};
    case Operation::MakePipe:
    case Operation::MakeSocket:
    case Operation::Accept:
        return {EMFILE, ENFILE};
    case Operation::Spawn:
        return {EAGAIN, ENOMEM};
    case Operation::StartThread:
        return {EAGAIN, EAGAIN};
    case Operation::ReadPeer:
        return {ENOBUFS, ENOTCONN};
    case Operation::ReadRandom:
        return {ENOSYS, ENOSYS};
    case Operation::Send:
    case Operation::Receive:
        return {ECONNRESET, EPIPE};
    default:
        return {EIO, EIO};
    }
}

} // namespace

FaultPlan::FaultPlan(int failAt, Lasting lasting, std::optional<std::errc> error,
                     std::optional<Operation> only)
    : m_failAt(failAt), m_lasting(lasting), m_error(error), m_only(only) {
    seams::setFaults(this);
}

FaultPlan::~FaultPlan() {
    stop();
}

void FaultPlan::stop() {
    seams::setFaults(nullptr);
}

std::optional<Operation> FaultPlan::failed() const {
    const int kind = m_failed;
    return kind < 0 ? std::nullopt : std::optional(static_cast<Operation>(kind));
}

bool FaultPlan::fails(Operation operation) {
    if (m_only && *m_only != operation) return false;
    const int number = m_count++;
    if (m_failAt < 0 || number < m_failAt) return false;
    if (number == m_failAt) m_failed = static_cast<int>(operation);
    if (number == m_failAt || m_lasting == Lasting::Everything) return true;
    return m_lasting == Lasting::SameKind && m_failed == static_cast<int>(operation);
}

std::error_code FaultPlan::before(Operation operation, std::size_t& size) {
    if (m_isShort && size > 1) size = 1;
    if (operation == Operation::Rename && m_crossesDisks.exchange(false))
        return {EXDEV, std::system_category()};
    if (!fails(operation)) return {};
    if (m_error) return {static_cast<int>(*m_error), std::system_category()};
    const auto errors = errorsOf(operation);
    return {errors[static_cast<std::size_t>(m_failAt) % errors.size()], std::system_category()};
}

} // namespace qel::test
