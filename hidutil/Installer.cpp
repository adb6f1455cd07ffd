#include "hidutil/Installer.h"

#include "hidutil/Messages.h"
#include "hidutil/Output.h"

namespace keyvane::hidutil {

std::vector<std::uint64_t> Installer::install(const std::vector<const Target*>& targets,
                                              const std::vector<Mapping>& mappings,
                                              const std::vector<Mapping>& usable,
                                              bool allKeyboards) {
    std::vector<Work> work;
    for (const Target* target : targets) {
        work.push_back({target, planInstall(target->current, target->record, target->device->info(),
                                            mappings, usable)});
        const DeviceInfo& info = target->device->info();
        if (target->recordError)
            fail(work.back(),
                 fill(text::errorRecord, {store_.fileOf(info.instance).string(), info.node,
                                          info.name, target->recordError.message()}));
        else if (info.instance.empty())
            fail(work.back(), fill(text::errorNoInstance, {info.node, info.name}));
        else
            for (unsigned usage : work.back().plan.missingUsages)
                err_ << fill(text::noteNoKey, {info.node, info.name, hexNumber(usage)});
    }
    writeBeforeChanges(work, mappings, allKeyboards);
    std::vector<std::uint64_t> installed;
    for (Work& one : work) {
        if (one.outcome == Outcome::Pending) {
            noteChangedSince(one);
            change(one);
        }
        if (one.outcome == Outcome::Done)
            keepRecord(one);
        if (one.outcome == Outcome::Done)
            installed.push_back(one.target->device->info().registryId);
    }
    if (allKeyboards && mappings.empty() && !failed_)
        if (auto error = store_.removeAllKeyboards())
            err_ << fill(text::noteRecordKept, {store_.folder().string(), error.message()});
    return installed;
}

void Installer::noteChangedSince(const Work& work) {
    const DeviceInfo& info = work.target->device->info();
    for (std::uint32_t scancode : work.plan.changedSince)
        err_ << fill(text::noteChangedSince, {info.node, info.name, hexNumber(scancode),
                                              std::to_string(work.target->current.at(scancode))});
}

// Any file that cannot be written stops the install on every keyboard, before any key changes.
void Installer::writeBeforeChanges(std::vector<Work>& work, const std::vector<Mapping>& mappings,
                                   bool allKeyboards) {
    std::error_code error;
    bool durable = false;
    for (Work& one : work) {
        if (error || one.outcome != Outcome::Pending || !one.plan.writeDuring)
            continue;
        error = store_.save(one.target->device->info().instance, one.plan.during, one.plan.durable);
        durable = durable || one.plan.durable;
    }
    if (!error && allKeyboards && !mappings.empty() && store_.loadAllKeyboards() != mappings)
        error = store_.saveAllKeyboards(mappings);
    // One sync of the folder makes every new record durable.
    if (!error && durable)
        error = store_.syncFolder();
    if (!error)
        return;
    err_ << stateError(error);
    failed_ = true;
    for (Work& one : work)
        if (one.outcome == Outcome::Pending)
            one.outcome = Outcome::Failed;
}

void Installer::change(Work& work) {
    KeyDevice& device = *work.target->device;
    std::vector<KeymapChange> made;
    for (const KeymapChange& change : work.plan.changes) {
        const auto error = device.setKeycode(change.scancode, change.keycode);
        if (!error) {
            made.push_back(change);
        } else if (error == std::errc::invalid_argument && change.usage != 0) {
            // The kernel knows the keyboard's keys better than its keymap listing did.
            const DeviceInfo& info = device.info();
            err_ << fill(text::noteNoKey, {info.node, info.name, hexNumber(change.usage)});
            work.plan.writeAfter =
                work.plan.after.skipped.insert(change.usage).second || work.plan.writeAfter;
        } else if (deviceIsGone(error)) {
            return noteGone(work, error);
        } else {
            return fail(work, deviceError(device, error));
        }
    }
    if (readBack_ == ReadBack::Yes)
        verify(work, made);
    if (work.outcome == Outcome::Pending)
        work.outcome = Outcome::Done;
}

void Installer::verify(Work& work, const std::vector<KeymapChange>& made) {
    KeyDevice& device = *work.target->device;
    for (const KeymapChange& change : made) {
        std::uint32_t keycode = 0;
        if (auto error = device.readKeycode(change.scancode, keycode))
            return deviceIsGone(error) ? noteGone(work, error)
                                       : fail(work, deviceError(device, error));
        if (keycode != change.keycode) {
            const DeviceInfo& info = device.info();
            return fail(work, fill(text::errorReadBack,
                                   {info.node, info.name, hexNumber(change.scancode),
                                    std::to_string(keycode), std::to_string(change.keycode)}));
        }
    }
}

// The record before the changes covers them all; what is left to do is to narrow it to the keys
// that stay changed, which a crash of the machine may undo without harm, the keymaps going with it.
// Should that fail, the wider record still restores exactly.
void Installer::keepRecord(Work& work) {
    if (!work.plan.writeAfter)
        return;
    if (auto error = store_.save(work.target->device->info().instance, work.plan.after, false))
        err_ << fill(text::noteRecordKept, {store_.folder().string(), error.message()});
}

std::string Installer::stateError(const std::error_code& error) const {
    return fill(text::errorState, {store_.folder().string(), error.message()});
}

std::string Installer::deviceError(const KeyDevice& device, const std::error_code& error) {
    return fill(text::errorDevice, {device.info().node, device.info().name, error.message()});
}

void Installer::fail(Work& work, const std::string& message) {
    err_ << message;
    work.outcome = Outcome::Failed;
    failed_ = true;
}

void Installer::noteGone(Work& work, const std::error_code& error) {
    const DeviceInfo& info = work.target->device->info();
    err_ << fill(text::noteKeyboardGone, {info.node, info.name, error.message()});
    work.outcome = Outcome::Gone;
}

}  // namespace keyvane::hidutil
