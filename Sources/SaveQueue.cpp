// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SaveQueue.h"

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Mutex.h"

#include <string>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

class SaveOperation final : public Operation {
public:
    explicit SaveOperation(std::function<void()> save)
        : m_save(std::move(save)) { }
    /// What was to be saved is large: it goes with the save, not with whoever lets go of the operation last.
    void main() override { std::exchange(m_save, nullptr)(); }

private:
    std::function<void()> m_save;
};

} // namespace

struct SaveQueue::Reports final {
    void perform();

    Mutex mutex;
    std::vector<std::function<void()>> tasks GUARDED_BY(mutex);
};

void SaveQueue::Reports::perform() {
    std::vector<std::function<void()>> due;
    {
        const MutexLock lock(mutex);
        due.swap(tasks);
    }
    for (const auto& task : due)
        task();
}

SaveQueue::SaveQueue(MainThreadQueue& mainThreadQueue, Log& log)
    : m_mainThreadQueue(mainThreadQueue)
    , m_reports(std::make_shared<Reports>())
    , m_queue(1,
          [&log](const std::string& what) { log.lineAlways("Saving on a thread of its own failed: %@", { what }); }) { }

SaveQueue::~SaveQueue() {
    finish();
}

void SaveQueue::add(std::function<void()> save) {
    const auto operation = std::make_shared<SaveOperation>(std::move(save));
    m_queue.addOperation(operation, { "save", this });
    if (operation->isCancelled()) // nothing that could replace it was added since
        operation->main();
}

void SaveQueue::report(std::function<void()> task) {
    {
        const MutexLock lock(m_reports->mutex);
        m_reports->tasks.push_back(std::move(task));
    }
    m_mainThreadQueue.post([weakReports = std::weak_ptr(m_reports)] {
        if (const auto reports = weakReports.lock())
            reports->perform();
    });
}

bool SaveQueue::isSaving() const {
    return m_queue.operationCount() > 0;
}

bool SaveQueue::waitUntilSaved(Seconds patience) {
    return m_queue.waitUntilIdle(patience);
}

bool SaveQueue::finish(Seconds patience) {
    const bool isSaved = waitUntilSaved(patience);
    m_reports->perform();
    return isSaved;
}

void SaveQueue::finish() {
    while (!finish(savePatience)) { }
}

} // namespace quorrel
