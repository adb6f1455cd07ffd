#include "hidutil/Installer.h"

#include "hidutil/Messages.h"
#include "hidutil/Output.h"

namespace keyvane::hidutil {

std::vector<std::uint64_t> Installer::install(const std::vector<const Target*>& targets,
                                              const std::vector<Mapping>& mappings,
                                              const std::vector<Mapping>& usable) {
    std::vector<Work> work;
    for (const Target* target : targets) {
        work.push_back({target, planInstall(target->current, target->record, mappings, usable)});
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
    rememberOriginals(work);
    std::vector<std::uint64_t> installed;
    for (Work& one : work) {
        if (one.outcome == Outcome::Pending)
            change(one);
        if (one.outcome == Outcome::Done)
            keepRecord(one);
        if (one.outcome == Outcome::Done)
            installed.push_back(one.target->device->info().registryId);
    }
    return installed;
}

void Installer::rememberOriginals(std::vector<Work>& work) {
    std::vector<Work*> written;
    for (Work& one : work) {
        if (one.outcome != Outcome::Pending || !one.plan.writeDuring)
            continue;
        const auto& instance = one.target->device->info().instance;
        if (auto error = store_.save(instance, one.plan.during, true))
            fail(one, stateError(error));
        else
            written.push_back(&one);
    }
    // One sync of the folder makes every new record durable.
    if (written.empty())
        return;
    if (auto error = store_.syncFolder())
        for (Work* one : written)
            fail(*one, stateError(error));
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
void Installer::keepRecord(Work& work) {
    if (!work.plan.writeAfter)
        return;
    if (auto error = store_.save(work.target->device->info().instance, work.plan.after, false))
        fail(work, stateError(error));
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
