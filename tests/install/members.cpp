// A program outside the tree that names every function of the public classes that a caller or a derived class can
// reach. It only has to be built.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <iostream>

template class qzsignal::DispatchMap<CANSignalExt>;
template class qzsignal::DispatchMap<LINSignal>;
template class qzsignal::DispatchMap<FlexRaySignal>;
template class qzsignal::DispatchMap<InputSignal>;
template class qzsignal::DispatchMap<InputSignalExt>;
template class Stack<double>;

namespace {

// Calls what all signals have, each function as that of the class, not through the object.
template <typename Signal>
void useSignal(Signal& signal) {
    double phys = 0;
    unsigned long long value = 0;
    unsigned long long time = 0;
    std::cout << signal.Signal::getUnit() << signal.Signal::getScaleFactor() << signal.Signal::getOffset()
              << int{signal.Signal::getBits()} << signal.Signal::getType() << signal.Signal::read(phys, time)
              << signal.Signal::read(value, time) << signal.Signal::write(value, time) << signal.Signal::isModified();
    signal.Signal::print(std::cout);
    signal.Signal::clear();
    std::cout << signal;
}

class PlainSignal : public ShmSignal {
public:
    using ShmSignal::ShmSignal;

    void use() {
        useSignal<ShmSignal>(*this);
        std::cout << createSharedMemory() << smInit() << write(bytes, 1ULL) << write(bytes, 8U, 1ULL) << tryLock();
        cInit();
        decode();
        physical();
        lock();
        unlock();
        std::cout << instance << signal << messageId;
        std::cout << d_localData.bits << d_owner << d_valid << d_key << d_shmId << d_shared << d_data << d_modified
                  << d_lsbBit << d_startByte << d_bytes << d_shift << d_maksBits << d_signBit << d_rawMask << d_waiting;
    }

private:
    unsigned char bytes[8] = {};
};

class StoredSignal : public CANSignal {
public:
    using CANSignal::CANSignal;

    void use() {
        useSignal<CANSignal>(*this);
        std::cout << createSharedMemory() << smInit() << write(1.5, 1ULL) << decode(1) << encode(1) << tryLock();
        cInit();
        lock();
        unlock();
        decodeMessage(0, 0, 0, 0);
        std::cout << canMessageVector.size();
        std::cout << d_localData.bits << d_owner << d_valid << d_key << d_shmId << d_shared << d_data << d_modified
                  << d_lsbBit << d_startByte << d_bytes << d_shift << d_maksBits << d_signBit << d_rawMask << d_waiting;
    }
};

// A kind of shared signal: how it is defined, opened, looked for, and fed.
template <typename Kind, typename Definition, typename Message>
class Derived : public Kind {
public:
    using Kind::Kind;

    void use(qzsignal::DispatchMap<Kind> const& container) {
        useSignal<Kind>(*this);
        std::cout << container.size() << Kind::signalsInUse(nullptr, nullptr) << Kind::decodeMessage(Message());
        std::cout << this->d_definition << Definition().type;
        this->lock();
        this->unlock();
    }
};

class Input : public InputSignal {
public:
    using InputSignal::InputSignal;

    void use() {
        useSignal<InputSignal>(*this);
        std::cout << inputContainer.size() << signalsInUse(nullptr, nullptr) << decodeMessage(KeyboardMessage())
                  << decodeMessage(GpioTraceMessage()) << decodeMessage(AnalogTraceMessage());
        std::cout << used << modified << value << timestamp;
    }
};

class Expression : public ExpParser {
public:
    using ExpParser::ExpParser;

    void use() {
        std::cout << getValue() << getTrigger() << isWritten() << getLastestTime() << signalMessageIds.size();
        clearstack();
        add(&ExpParser::opplus);
        add(Instruction());
        add(std::string("a"));
        add(1.0);
        for (Operation const operation :
             {&ExpParser::opdouble, &ExpParser::opsignal, &ExpParser::opnot,  &ExpParser::opnz,    &ExpParser::opneg,
              &ExpParser::opland,   &ExpParser::oplor,    &ExpParser::opdne,  &ExpParser::opdeq,   &ExpParser::opbne,
              &ExpParser::opbeq,    &ExpParser::opge,     &ExpParser::ople,   &ExpParser::opgt,    &ExpParser::oplt,
              &ExpParser::opexp,    &ExpParser::opdiv,    &ExpParser::opmult, &ExpParser::opminus, &ExpParser::opplus})
            (this->*operation)();
        std::cout << program.size() << (pc == program.end()) << stack.depth() << (lexer != nullptr) << text
                  << edgeTrigger << lastTrigger << written;
    }
};

} // namespace

int main() {
    PlainSignal(baseSignalDef_t(), false).use();
    PlainSignal("a").use();
    StoredSignal(canSignal_t(), false).use();
    StoredSignal("a").use();
    Derived<CANSignalExt, canSignalDef_t, CANExtTraceMessage>(canSignalDef_t(), false)
        .use(CANSignalExt::canMessageContainer);
    Derived<CANSignalExt, canSignalDef_t, CANExtTraceMessage>("a").use(CANSignalExt::canMessageContainer);
    Derived<LINSignal, linSignalDef_t, LINTraceMessage>(linSignalDef_t(), false).use(LINSignal::linMessageContainer);
    Derived<LINSignal, linSignalDef_t, LINTraceMessage>("a").use(LINSignal::linMessageContainer);
    using FlexRay = Derived<FlexRaySignal, flexRaySignalDef_t, FlexRayExtTraceMessage>;
    FlexRay(flexRaySignalDef_t(), false).use(FlexRaySignal::frMessageContainer);
    FlexRay("a").use(FlexRaySignal::frMessageContainer);
    std::cout << FlexRaySignal::frIdArray << FlexRaySignal::getFlexRayId(FlexRayExtTraceMessage())
              << FlexRay("a").fillFlexRayIdArray();
    using ExtendedInput = Derived<InputSignalExt, inputSignalDef_t, KeyboardMessage>;
    ExtendedInput(inputSignalDef_t(), false).use(InputSignalExt::inputContainer);
    ExtendedInput("a").use(InputSignalExt::inputContainer);
    std::cout << InputSignalExt::decodeMessage(GpioTraceMessage())
              << InputSignalExt::decodeMessage(AnalogTraceMessage());
    Input("a").use();
    Expression("1", false).use();
    std::cout << ExpParser::allExpParsers.size() << ExpParser::debug << expdebug;
    ExpParser::clear();

    std::vector<unsigned long long> silent;
    std::cout << BaseSignal::instances.size() << BaseSignal::debug << BaseSignal::getInstance("a")
              << BaseSignal::checkTimeout(1, silent);
    BaseSignal::clearAll();
    BaseSignal::clear(silent);
    std::cout << signalUnsigned << canUnsigned << baseSignalDef_t() << canSignal_t() << CANExtTraceMessage()
              << int{MessageBase::version};
}
