// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PasswordReader.h"

#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <gio/gunixinputstream.h>

namespace quorrel {

namespace {

constexpr Seconds patience { 10 };
constexpr std::size_t longest = 1024; // bytes
constexpr std::size_t pieceSize = 256;

} // namespace

struct PasswordReader::Reading final {
    Reading(FileDescriptor from, Done toTell)
        : source(std::move(from))
        , done(std::move(toTell)) { }

    FileDescriptor source;
    Done done;
    GObjectPointer<GInputStream> stream;
    GObjectPointer<GCancellable> cancellable { g_cancellable_new() };
    MainLoopTimer timer {};
    std::string text {};
    std::array<char, pieceSize> piece {};
};

struct PasswordReader::Callbacks final {
    static void readOn(const std::shared_ptr<Reading>& reading) {
        g_input_stream_read_async(reading->stream.get(), reading->piece.data(), reading->piece.size(),
            G_PRIORITY_DEFAULT, reading->cancellable.get(), &Callbacks::read,
            new std::shared_ptr<Reading>(reading)); // NOLINT: GLib's now
    }

    static void read(GObject* stream, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<std::shared_ptr<Reading>> owned(static_cast<std::shared_ptr<Reading>*>(data));
        const auto& reading = *owned;
        const auto count = g_input_stream_read_finish(G_INPUT_STREAM(stream), result, nullptr);
        if (!reading->done)
            return;
        if (count > 0)
            reading->text.append(reading->piece.data(), static_cast<std::size_t>(count));
        const auto lineEnd = reading->text.find('\n');
        if (count < 0 || std::min(lineEnd, reading->text.size()) > longest)
            end(*reading, std::nullopt);
        else if (count > 0 && lineEnd == std::string::npos)
            readOn(reading);
        else
            end(*reading, line(reading->text.substr(0, lineEnd)));
    }

    static std::optional<std::string> line(std::string text) {
        if (text.ends_with('\r'))
            text.pop_back();
        return text.find('\0') == std::string::npos ? std::optional(std::move(text)) : std::nullopt;
    }

    static void end(Reading& reading, std::optional<std::string> password) {
        reading.timer.stop();
        const auto done = std::exchange(reading.done, nullptr);
        done(std::move(password));
    }
};

PasswordReader::PasswordReader(FileDescriptor source, Done done)
    : m_reading(std::make_shared<Reading>(std::move(source), std::move(done))) {
    m_reading->stream.reset(g_unix_input_stream_new(m_reading->source.get(), FALSE));
    m_reading->timer.start(patience, [weak = std::weak_ptr(m_reading)] {
        if (const auto reading = weak.lock(); reading && reading->done) {
            g_cancellable_cancel(reading->cancellable.get());
            Callbacks::end(*reading, std::nullopt);
        }
    });
    Callbacks::readOn(m_reading);
}

PasswordReader::~PasswordReader() {
    m_reading->done = nullptr;
    m_reading->timer.stop();
    g_cancellable_cancel(m_reading->cancellable.get());
}

} // namespace quorrel
