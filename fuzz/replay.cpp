// Replaces the fuzzer where the compiler has none: passes every file of the given folders to the
// target once. The target must refuse files named refused-*, and read a record from each file named
// raw-* unless its name ends in "cut".

#include "refusal.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cstdint>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char* argv[])
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir folder(QString::fromLocal8Bit(argv[i]));
        for (const QFileInfo& info : folder.entryInfoList(QDir::Files)) {
            QFile file(info.filePath());
            if (!file.open(QIODevice::ReadOnly))
                return std::cerr << qPrintable(info.filePath()) << ": cannot read the file\n", 1;
            const QByteArray bytes = file.readAll();
            const long long readBefore = recordsRead;
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                   static_cast<std::size_t>(bytes.size()));
            const QString name = info.fileName();
            if (name.startsWith(QLatin1String("refused-")) && !inputRefused)
                return std::cerr << qPrintable(info.filePath())
                                 << ": must be refused, but was read\n",
                       1;
            if (name.startsWith(QLatin1String("raw-")) && !name.endsWith(QLatin1String("cut")) &&
                recordsRead == readBefore)
                return std::cerr << qPrintable(info.filePath()) << ": no record was read\n", 1;
            ++count;
        }
    }
    std::cout << count << " inputs replayed\n";
    return count > 0 ? 0 : 1;
}
