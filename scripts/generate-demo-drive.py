#!/usr/bin/env python3
"""Writes the demo: drive.dbc, the signals of a small car, and drive.log, twenty seconds of its bus in candump's format.

The car starts its engine, accelerates through the gears, cruises through a bend and brakes to a stop; meanwhile, the
driver holds the key of a remote control twice. The files are the same on every run, so that documents can quote what the
tools make of them.
"""

import argparse
import math
import pathlib
import struct

START_MICROSECONDS = 1_700_000_000_000_000
DURATION = 20.0  # seconds
STEP = 0.01  # seconds; the shortest cycle

DBC = '''VERSION ""

NS_ :

BS_:

BU_: ECM TCM ABS EPS GPS RCU Tester

BO_ 160 Engine: 8 ECM
 SG_ Speed : 0|16@1+ (0.25,0) [0|8000] "rpm" TCM
 SG_ Torque : 16|12@1- (0.5,0) [-500|500] "Nm" TCM,ABS
 SG_ ThrottlePosition : 28|8@1+ (0.4,0) [0|100] "%" TCM
 SG_ Running : 36|1@1+ (1,0) [0|1] "" TCM
 SG_ CoolantTemperature : 40|8@1+ (1,-40) [-40|200] "degC" TCM

BO_ 288 Brake: 4 ABS
 SG_ PedalPressed : 0|1@1+ (1,0) [0|1] "" ECM,TCM
 SG_ Pressure : 8|16@1+ (0.01,0) [0|250] "bar" ECM

BO_ 289 Steering: 4 EPS
 SG_ Angle : 0|16@1- (0.1,0) [-720|720] "deg" ABS
 SG_ AngleRate : 16|16@1- (0.1,0) [-1000|1000] "deg/s" ABS

BO_ 512 VehicleSpeed: 4 ABS
 SG_ Speed : 7|16@0+ (0.01,0) [0|300] "km/h" ECM,TCM,EPS
 SG_ Moving : 23|1@0+ (1,0) [0|1] "" EPS

BO_ 513 WheelSpeeds: 8 ABS
 SG_ FrontLeft : 7|16@0+ (0.01,0) [0|300] "km/h" ECM
 SG_ FrontRight : 23|16@0+ (0.01,0) [0|300] "km/h" ECM
 SG_ RearLeft : 39|16@0+ (0.01,0) [0|300] "km/h" ECM
 SG_ RearRight : 55|16@0+ (0.01,0) [0|300] "km/h" ECM

BO_ 640 RemoteControl: 1 RCU
 SG_ Trigger : 0|2@1+ (1,0) [0|2] "" Tester

BO_ 768 Transmission: 2 TCM
 SG_ Gear : 0|4@1+ (1,0) [0|7] "" ECM
 SG_ OilTemperature : 8|8@1+ (1,-40) [-40|200] "degC" ECM

BO_ 1280 Diagnostics: 4 ECM
 SG_ Page M : 0|8@1+ (1,0) [0|1] "" Tester
 SG_ BatteryVoltage m0 : 8|16@1+ (0.001,0) [0|20] "V" Tester
 SG_ FuelLevel m1 : 8|8@1+ (0.5,0) [0|100] "%" Tester
 SG_ OilPressure m1 : 16|8@1+ (0.05,0) [0|10] "bar" Tester

BO_ 2566844672 Position: 8 GPS
 SG_ DistanceTravelled : 0|32@1- (1,0) [0|1000000] "m" Tester
 SG_ Heading : 32|16@1+ (0.01,0) [0|360] "deg" Tester

CM_ BO_ 1280 "Takes turns: electrical system on page 0, fluids on page 1.";
CM_ SG_ 160 Torque "Negative while the car drives the engine.";
CM_ SG_ 289 Angle "Positive to the left.";

BA_DEF_ BO_ "GenMsgCycleTime" INT 0 65535;
BA_DEF_DEF_ "GenMsgCycleTime" 0;
@CYCLE_TIMES@
VAL_ 160 Running 0 "Off" 1 "On" ;
VAL_ 288 PedalPressed 0 "Released" 1 "Pressed" ;
VAL_ 640 Trigger 0 "Released" 1 "Pressed" 2 "PressedLong" ;
VAL_ 768 Gear 0 "Neutral" 1 "First" 2 "Second" 3 "Third" 4 "Fourth" 7 "Reverse" ;
SIG_VALTYPE_ 2566844672 DistanceTravelled : 1;
'''

IDLE_RPM = 800
WHEEL_CIRCUMFERENCE = 1.95  # metres
RATIOS = {1: 13.5, 2: 7.8, 3: 5.2, 4: 3.9}  # engine revolutions per wheel revolution
SHIFT_TIMES = [(2.0, 1), (4.5, 2), (7.5, 3), (10.5, 4), (15.5, 3), (16.8, 2), (17.8, 0)]  # second, gear from then on
# Acceleration from each second on, in m/s2.
ACCELERATIONS = [(0.0, 0.0), (2.0, 2.8), (4.5, 2.2), (7.5, 1.7), (10.5, 0.3), (13.5, 0.0), (14.2, -4.2)]
KEY_TIMES = [(7.0, 1), (12.0, 0), (13.0, 1), (14.6, 0)]  # second, state of the remote control's key from then on
MASS = 1300  # kilograms
RUNNING_AT = 0.6  # second at which the engine has started


def at_time(schedule, time, before):
    """The value of the last entry of `schedule` that has begun."""
    return next((value for start, value in reversed(schedule) if time >= start), before)


class Car:
    """The car's state, which follows simple physics in steps of time."""

    def __init__(self):
        self.time = 0.0
        self.speed = 0.0  # metres per second
        self.distance = 0.0  # metres
        self.heading = 90.0  # degrees
        self.rpm = 0.0
        self.torque = 0.0  # newton metres
        self.coolant = 62.0  # degrees Celsius
        self.angle = 0.0  # of the steering wheel, degrees
        self.angle_rate = 0.0  # degrees per second
        self.pressure = 0.0  # of the brake, bar

    @property
    def gear(self):
        return at_time(SHIFT_TIMES, self.time, 0)

    @property
    def running(self):
        return self.time >= RUNNING_AT

    def advance(self):
        self.time += STEP
        acceleration = at_time(ACCELERATIONS, self.time, 0.0)
        if self.speed == 0.0 and acceleration < 0.0:
            acceleration = 0.0
        self.speed = max(0.0, self.speed + acceleration * STEP)
        self.distance += self.speed * STEP
        self.advance_engine(acceleration)
        self.advance_steering()
        standing = self.speed == 0.0 and (self.time < 1.8 or self.time > 15.0)
        wanted_pressure = 12.0 if standing else max(0.0, -acceleration) * 11.0
        self.pressure += (wanted_pressure - self.pressure) * 0.12

    def advance_engine(self, acceleration):
        if not self.running:
            self.rpm = 220.0 if self.time > 0.3 else 0.0  # the starter turns it
            return
        ratio = RATIOS.get(self.gear, 0.0)
        wanted_rpm = max(IDLE_RPM, self.speed / WHEEL_CIRCUMFERENCE * 60 * ratio)
        self.rpm += (wanted_rpm - self.rpm) * 0.15 + 4.0 * math.sin(self.time * 40.0)
        wanted_torque = 12.0
        if acceleration < 0.0:
            wanted_torque = -25.0 if self.gear else 0.0
        elif ratio:
            force = MASS * acceleration + 150.0 + 0.4 * self.speed**2
            wanted_torque = force * WHEEL_CIRCUMFERENCE / (2 * math.pi) / ratio
        self.torque += (wanted_torque - self.torque) * 0.1
        self.coolant += (0.2 + self.rpm / 4000.0) * STEP

    def advance_steering(self):
        in_bend = 11.0 <= self.time < 14.0
        wanted = -35.0 * math.sin((self.time - 11.0) / 3.0 * math.pi) if in_bend else 0.0
        before = self.angle
        self.angle = wanted + 0.8 * math.sin(self.time * 1.7)
        self.angle_rate = (self.angle - before) / STEP
        self.heading -= self.speed * self.angle / 16.0 / 2.6 * STEP


def engine(car, _count):
    throttle = max(0.0, min(100.0, car.torque / 2.0)) if car.running else 0.0
    torque = round(car.torque / 0.5) & 0xFFF
    word = round(car.rpm / 0.25) | torque << 16 | round(throttle / 0.4) << 28 | car.running << 36
    return (word | round(car.coolant + 40) << 40).to_bytes(8, "little")


def brake(car, _count):
    return struct.pack("<BHx", car.pressure > 0.5, round(car.pressure / 0.01))


def steering(car, _count):
    return struct.pack("<hh", round(car.angle / 0.1), round(car.angle_rate / 0.1))


def kilometres_per_hour(metres_per_second):
    return round(metres_per_second * 3.6 / 0.01)


def vehicle_speed(car, _count):
    return struct.pack(">HBx", kilometres_per_hour(car.speed), 0x80 if car.speed > 0.0 else 0)


def wheel_speeds(car, _count):
    # In a bend to the right (negative angle) the left wheels have the longer way.
    side = 1.0 - car.angle / 3000.0
    wheels = (car.speed * factor for factor in (side, 2.0 - side, side * 0.999, (2.0 - side) * 0.999))
    return struct.pack(">4H", *map(kilometres_per_hour, wheels))


def remote_control(car, _count):
    return bytes((at_time(KEY_TIMES, car.time, 0),))


def transmission(car, _count):
    return bytes((car.gear, round(48 + car.time * 0.3 + 40)))


def diagnostics(car, count):
    if count % 2 == 0:
        voltage = 14.1 if car.running else 12.3 - (2.0 if car.rpm > 0.0 else 0.0)
        return struct.pack("<BHx", 0, round((voltage + 0.05 * math.sin(car.time)) / 0.001))
    return struct.pack("<BBBx", 1, round(64.0 / 0.5), round(min(5.0, car.rpm / 600.0) / 0.05))


def position(car, _count):
    return struct.pack("<fHxx", car.distance, round(car.heading % 360 / 0.01))


# Identifier as in DBC files (bit 31: extended), cycle in milliseconds, delay after the step in microseconds, payload.
MESSAGES = [
    (160, 10, 130, engine),
    (288, 20, 370, brake),
    (289, 10, 610, steering),
    (512, 20, 850, vehicle_speed),
    (513, 20, 1090, wheel_speeds),
    (640, 50, 1210, remote_control),
    (768, 50, 1330, transmission),
    (1280, 100, 1570, diagnostics),
    (2566844672, 100, 1810, position),
]


def identifier_text(identifier):
    extended = identifier & 0x80000000
    return f"{identifier & 0x1FFFFFFF:08X}" if extended else f"{identifier:03X}"


def log_lines():
    car = Car()
    for step in range(round(DURATION / STEP)):
        milliseconds = round(step * STEP * 1000)
        for identifier, cycle, delay, payload in MESSAGES:
            if milliseconds % cycle == 0:
                jitter = step * 7919 % 60  # buses are not exactly on time
                time = START_MICROSECONDS + milliseconds * 1000 + delay + jitter
                data = payload(car, milliseconds // cycle).hex().upper()
                yield f"({time // 1000000}.{time % 1000000:06}) can0 {identifier_text(identifier)}#{data}\n"
        car.advance()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path, help="where to write; made if it is missing")
    folder = parser.parse_args().folder
    folder.mkdir(parents=True, exist_ok=True)
    cycles = "".join(f'BA_ "GenMsgCycleTime" BO_ {number} {cycle};\n' for number, cycle, _, _ in MESSAGES)
    (folder / "drive.dbc").write_text(DBC.replace("@CYCLE_TIMES@\n", cycles), encoding="ascii", newline="\n")
    (folder / "drive.log").write_text("".join(log_lines()), encoding="ascii", newline="\n")


if __name__ == "__main__":
    main()
