// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountAttempt.h"

#include "Platform/Linux/CertificateInspector.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

/// What a good server needs at most; from then on its port is looked at.
constexpr Seconds goodTime { 0.4 };

} // namespace

MountAttempt::MountAttempt(
    BoundedLoop& loop, Log& log, const GvfsLocation& location, std::vector<std::string> trustedCertificates)
    : m_loop(loop)
    , m_log(log)
    , m_location(location)
    , m_trustedCertificates(std::move(trustedCertificates))
    , m_probe(loop, location.host, location.ports())
    , m_operation(g_mount_operation_new()) {
    m_failure.isOfFolder = location.path.size() > 1;
    g_signal_connect(m_operation.get(), "ask-password", G_CALLBACK(askPassword), this);
    g_signal_connect(m_operation.get(), "ask-question", G_CALLBACK(askQuestion), this);
    g_signal_connect(m_operation.get(), "show-processes", G_CALLBACK(showProcesses), this);
}

MountAttempt::~MountAttempt() {
    // An abandoned call may hold the operation for longer than we live.
    g_signal_handlers_disconnect_by_data(m_operation.get(), this);
    g_mount_operation_set_password(m_operation.get(), nullptr);
}

std::optional<MountFailure> MountAttempt::run(Seconds limit, const std::function<void()>& meanwhile) {
    const GObjectPointer<GFile> file(g_file_new_for_uri(m_location.uri.c_str()));
    auto mount = m_loop.begin([&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
        g_file_mount_enclosing_volume(file.get(), G_MOUNT_MOUNT_NONE, m_operation.get(), cancellable, callback, data);
    });
    waitForAnswer(mount, limit, meanwhile);
    if (!mount.isDone())
        return m_failure;
    GError* error = nullptr;
    const bool isMounted = g_file_mount_enclosing_volume_finish(file.get(), mount.result(), &error);
    const GlibPointer<GError> owned(error);
    if (isMounted && !m_failure.certificateRefused)
        return std::nullopt;
    if (isMounted) {
        // It was told not to. The caller sees a refusal, and takes the mount away.
        m_failure.message = "mounted in spite of a refused certificate";
        return m_failure;
    }
    m_failure.domain = error->domain;
    m_failure.code = error->code;
    m_failure.message = error->message;
    explain();
    return m_failure;
}

void MountAttempt::waitForAnswer(
    const BoundedLoop::Pending& mount, Seconds limit, const std::function<void()>& meanwhile) {
    const auto needsUs = [&] {
        if (mount.isDone())
            return true;
        meanwhile();
        return m_question || m_probe.verdict() == PortProbe::Verdict::NotResponding;
    };
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const Seconds left = limit - (std::chrono::steady_clock::now() - start);
        const bool isReady = m_loop.waitUntil(needsUs, m_probe.isStarted() ? left : std::min(left, goodTime));
        if (mount.isDone())
            return;
        if (m_question) {
            answerQuestion();
        } else if (isReady) {
            m_failure.end = MountFailure::End::NotReachable;
            return;
        } else if (m_loop.isOver() || left <= Seconds::zero()) {
            m_failure.end = m_loop.isInterrupted() ? MountFailure::End::Interrupted : MountFailure::End::PastDeadline;
            return;
        } else {
            m_probe.start();
        }
    }
}

void MountAttempt::explain() {
    m_failure.verdict = m_probe.verdict();
    if (!m_failure.wantsProbe())
        return;
    m_probe.start();
    m_loop.waitUntil(
        [this] { return m_probe.verdict() != PortProbe::Verdict::Unknown; }, PortProbe::patience + Seconds(1));
    m_failure.verdict = m_probe.verdict();
}

void MountAttempt::askPassword(GMountOperation* operation, const char* /*message*/, const char* defaultUser,
    const char* defaultDomain, GAskPasswordFlags flags, MountAttempt* self) {
    const auto& location = self->m_location;
    const bool hasLogin = location.isGuest || !location.user.empty();
    // Being asked again means that the answer was refused; the same answer would be asked for without end.
    if (++self->m_failure.passwordRequests > 1 || !hasLogin) {
        self->m_failure.loginRefused = true;
        g_mount_operation_reply(operation, G_MOUNT_OPERATION_ABORTED);
        return;
    }
    g_mount_operation_set_password_save(operation, G_PASSWORD_SAVE_NEVER);
    if (location.isGuest && (flags & G_ASK_PASSWORD_ANONYMOUS_SUPPORTED)) {
        g_mount_operation_set_anonymous(operation, TRUE);
    } else {
        const std::string& domain = location.domain;
        g_mount_operation_set_username(operation, location.user.empty() ? defaultUser : location.user.c_str());
        g_mount_operation_set_domain(operation, domain.empty() ? defaultDomain : domain.c_str());
        g_mount_operation_set_password(operation, location.password.c_str());
    }
    g_mount_operation_reply(operation, G_MOUNT_OPERATION_HANDLED);
}

void MountAttempt::askQuestion(
    GMountOperation* /*operation*/, const char* message, const char* const* /*choices*/, MountAttempt* self) {
    // The answer may need a look at the server, which a signal's handler must not wait for.
    self->m_question = message ? message : "";
}

void MountAttempt::showProcesses(GMountOperation* operation, const char* /*message*/, GArray* /*processes*/,
    const char* const* /*choices*/, MountAttempt* /*self*/) {
    g_mount_operation_reply(operation, G_MOUNT_OPERATION_ABORTED);
}

void MountAttempt::answerQuestion() {
    const auto question = std::move(*m_question);
    m_question.reset();
    if (mayTrust(question)) {
        g_mount_operation_set_choice(m_operation.get(), 0);
        g_mount_operation_reply(m_operation.get(), G_MOUNT_OPERATION_HANDLED);
        return;
    }
    m_failure.certificateRefused = true;
    // "No" must be said: a question that is only aborted lets the mount go on.
    g_mount_operation_set_choice(m_operation.get(), 1);
    g_mount_operation_reply(m_operation.get(), G_MOUNT_OPERATION_HANDLED);
}

bool MountAttempt::mayTrust(const std::string& question) {
    if (m_location.scheme != "https") {
        m_log.line("Refused a question of %@: %@", { m_location.printable, question });
        return false;
    }
    const auto fingerprints = CertificateInspector::inspect(m_loop, m_location.host, m_location.ports().front());
    if (!fingerprints || !CertificateInspector::isNamedIn(question, *fingerprints)) {
        m_log.line("Refused the certificate of %@: it could not be looked at. %@", { m_location.printable, question });
        return false;
    }
    if (CertificateInspector::isTrusted(fingerprints->sha256, m_trustedCertificates))
        return true;
    m_log.line("Refused the certificate of %@, which the system does not trust; its SHA-256 fingerprint is %@",
        { m_location.printable, fingerprints->sha256 });
    return false;
}

} // namespace quorrel
