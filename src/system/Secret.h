#pragma once

#include <QByteArrayView>
#include <QString>

#include <vector>

class QDebug;

/// A password in clear. Its memory is overwritten when it goes, it can be moved but not copied, and there is
/// no way to print it.
class Secret {
public:
    Secret() = default;
    explicit Secret(QByteArrayView bytes);
    /// As UTF-8.
    [[nodiscard]] static Secret fromText(const QString& text);
    ~Secret() { wipe(); }
    Secret(Secret&& other) noexcept = default;
    Secret& operator=(Secret&& other) noexcept;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    [[nodiscard]] bool isEmpty() const { return view().isEmpty(); }
    [[nodiscard]] QByteArrayView view() const;
    /// With a zero at the end, for C libraries.
    [[nodiscard]] const char* c_str() const { return m_bytes.empty() ? "" : m_bytes.data(); }

private:
    void wipe() noexcept;

    std::vector<char> m_bytes;  ///< with a zero at the end, or nothing at all
};

QDebug operator<<(QDebug debug, const Secret& secret) = delete;
