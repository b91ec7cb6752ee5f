#include "../app/FileSizeLimit.h"
#include "../catalogue/Descriptions.h"

#include <engine/saving/SavedRunReader.h>
#include <outputs/SavedRunFile.h>
#include <views/SignalChart.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>

#include <cerrno>

using monitor::Frame;
using monitor::SavedRunOutput;
using monitor::Session;

namespace
{

/// A run with one signal, saved to path().
class SavedRunFile : public testing::Test
{
protected:
    QString path() const { return directory.filePath("run"); }

    QByteArray content() const
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void record(SavedRunOutput& output, int values)
    {
        session = std::make_unique<Session>(QVector<monitor::CatalogueMessage>{describedMessage(
                                                0x18FEEE31, {describedSignal(0, 16)})},
                                            3);
        session->addValueSink(*output.valueSink());
        Frame frame;
        frame.id = 0x18FEEE31;
        frame.extended = true;
        frame.length = 8;
        for (int i = 0; i < values; ++i)
            session->take(frame);
    }

    QString finish(SavedRunOutput& output)
    {
        return output.write({*session, session->calcSnapshot()}, {}).error;
    }

    /// Saves a run with this number of values. Returns an error message.
    QString save(int values)
    {
        SavedRunOutput output(path());
        QString error = output.check();
        if (!error.isEmpty())
            return error;
        record(output, values);
        return finish(output);
    }

    qint64 savedValues() const
    {
        QFile file(path());
        monitor::SavedRunReader reader(file);
        Session read({}, 3);
        EXPECT_EQ(reader.open(), QString());
        EXPECT_EQ(reader.restore(read), QString());
        return read.calcSnapshot().rows.at(0).statistics->count;
    }

    QTemporaryDir directory;
    std::unique_ptr<Session> session;
};

} // namespace

TEST_F(SavedRunFile, ExistingRunIsReplacedAtTheEndOfTheRun)
{
    ASSERT_EQ(save(100), QString());
    EXPECT_EQ(savedValues(), 100);
    const QByteArray before = content();
    auto output = std::make_unique<SavedRunOutput>(path());
    ASSERT_EQ(output->check(), QString());
    record(*output, 200000);
    EXPECT_EQ(content(), before);
    ASSERT_EQ(finish(*output), QString());
    EXPECT_EQ(savedValues(), 200000);
}

TEST_F(SavedRunFile, RunThatIsNotFinishedLeavesNoFile)
{
    auto output = std::make_unique<SavedRunOutput>(path());
    ASSERT_EQ(output->check(), QString());
    record(*output, 200000);
    output.reset();
    EXPECT_TRUE(QDir(directory.path()).isEmpty(QDir::Files | QDir::Hidden));
}

TEST_F(SavedRunFile, ErrorNamesAnUnwritableFile)
{
    const QString fileName = directory.filePath("missing/run");
    EXPECT_TRUE(SavedRunOutput(fileName).check().startsWith(fileName + ": cannot be written: "));
}

TEST_F(SavedRunFile, FileWithOtherContentsIsNotReplaced)
{
    const QByteArray text = "VANTREL is not all\n";
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    EXPECT_EQ(save(1), path() + ": cannot be written: the file exists and is not a saved run");
    EXPECT_EQ(content(), text);
}

// The disk is full at the first block, or only at the end.
TEST_F(SavedRunFile, FullDiskLeavesThePreviousFileUnchanged)
{
    ASSERT_EQ(save(100), QString());
    const QByteArray before = content();
    for (const int values : {200, 200000}) {
        QString error;
        {
            const FileSizeLimit limit(static_cast<rlim_t>(before.size()));
            error = save(values);
        }
        EXPECT_TRUE(error.startsWith(path() + ": cannot be written: " + qt_error_string(EFBIG) +
                                     QString(" (after %1 bytes); the").arg(before.size())))
            << error.toStdString();
        EXPECT_EQ(content(), before);
    }
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden), QStringList("run"));
}

TEST_F(SavedRunFile, FullDiskIsAnErrorEvenIfTheRunIsResetAfterwards)
{
    QString error;
    {
        SavedRunOutput output(path());
        ASSERT_EQ(output.check(), QString());
        const FileSizeLimit limit(1000);
        record(output, 200000);
        session->clear();
        error = finish(output);
    }
    EXPECT_TRUE(
        error.contains(": cannot be written: " + qt_error_string(EFBIG) + " (after 1000 bytes)"))
        << error.toStdString();
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(SavedRunFile, FullDiskLeavesNoImage)
{
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(Qt::blue);
    const QString name = directory.filePath("image");
    QString error;
    {
        const FileSizeLimit limit(10);
        error = monitor::writeImage(image, name);
    }
    EXPECT_TRUE(error.startsWith(name)) << error.toStdString();
    EXPECT_FALSE(QFile::exists(name));
}
