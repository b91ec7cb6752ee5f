#include <iostream>
#include <vantrel/signal/GenericSignalImpl.h>

int main()
{
    GenericSignalImpl<J1939Value> speed;
    speed.setDatatype(CAN::CANopenDataType::REAL64);
    speed.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    for (int raw : {5200, 5208, 5192, 5600}) { // as they come from the bus
        J1939Value value;
        value.rawValue = raw;
        speed.setNewValue(value, 0.125, 0);
    }
    std::cout << speed.calcAverage() << " rpm, deviation " << speed.calcDeviation() << '\n'
              << "rating " << speed.getRating(3, true, 600, 800) << " of 100\n";
}
