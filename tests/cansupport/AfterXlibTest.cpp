// A host may include Xlib.h before the headers of the library, though not before those of Qt.

#include <QtCore/QDataStream>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QPointer>
#include <QtCore/QReadWriteLock>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <gtest/gtest.h>

// Macros of X11/X.h and X11/Xlib.h.
#define Above 0
#define Always 2
#define Below 1
#define Bool int
#define Complex 0
#define CurrentTime 0L
#define False 0
#define GrayScale 1
#define None 0L
#define Status int
#define Success 0
#define True 1
#define Unsorted 0

#include <vantrel/handlers/GenericValueHandler.h>
#include <vantrel/library/LibVantrel.h>
#include <vantrel/signal/GenericSignalImpl.h>

#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

TEST(AfterXlib, TheHeadersCompileAndDefineEveryEnumerator)
{
    EXPECT_EQ(static_cast<quint32>(CAN::CANopenDataType::Unspecified), 0U);
    EXPECT_EQ(static_cast<quint32>(CAN::CANopenDataType::UNSIGNED64), 27U);
    EXPECT_EQ(static_cast<int>(GenericSignal::NewValueHandlingType::Append), 2);
    GenericSignalImpl<J1939Value> signal;
    EXPECT_EQ(signal.getDatatype(), CAN::CANopenDataType::Unspecified);
}
