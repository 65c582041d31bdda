#pragma once

#include "platform/HotKeys.h"

namespace cobblet {

/// Stands in where a process is to have no hot keys; every registration fails with the reason.
class UnavailableHotKeys : public HotKeys {
public:
    explicit UnavailableHotKeys(QString reason) : m_reason(std::move(reason)) {}

    std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) override
    {
        std::vector<Result<Handle>> results;
        for (qsizetype i = 0; i < keys.size(); ++i)
            results.emplace_back(Error{m_reason});
        return results;
    }
    Availability availability() const override { return Availability::unavailable(m_reason); }
    QString trigger(const HotKeyID &) const override { return {}; }

private:
    void unregister(const HotKeyID &) override {}

    const QString m_reason;
};

} // namespace cobblet
