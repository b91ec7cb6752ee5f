#pragma once

#include <QtCore/QCryptographicHash>
#include <QtCore/QIODevice>

namespace monitor
{

/// Writes to another device and hashes what goes through.
class HashingDevice : public QIODevice
{
public:
    /// \a device must be open and outlive this one.
    explicit HashingDevice(QIODevice& device) : target(device) { open(WriteOnly | Unbuffered); }

    QByteArray result() const { return hash.result(); }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        hash.addData(data, static_cast<int>(size));
        return target.write(data, size);
    }

private:
    QIODevice& target;
    QCryptographicHash hash{QCryptographicHash::Sha256};
};

} // namespace monitor
