#!/usr/bin/env python3
"""Writes golden.txt: a sample of each message type as it lies on the wire, by an encoder that knows
nothing of the code in src/. Run it again after a change of the tables below.

A line of the file, tab between its fields: the type; "message" or "nested"; the size of its largest
value [bytes]; "plain" or "mixed"; where the count of its sequence lies [byte], -1 without one; the
names of all fields in it; the sample in little-endian and in big-endian order, hexadecimal.

The sample is filled in wire order: the n-th primitive, from 1, is n as an integer or enumeration,
n + 0.25 as a double, n + 0.5 as a float, whether n is odd as a bool, "text n" as a text. A sequence
has two elements and is not counted itself."""
import pathlib
import re
import struct

NESTED = """
timestamp sec:i64 nsec,time_code:i32
header seq_num:i64 timestamp_arrival,timestamp_valid:timestamp device_id:i32
lru_comp_set lru_id,component_id:i32
bit_comp_set server_id:i32 has_communicated,warn_received,error_received,critical_received:bool
channel_status_obs prn,channel:i32
    rinex3_satellite_system,rinex3_band,rinex3_attribute,gnss_tracking_status:enum
    carrier_to_noise,jammer_to_signal:f32 used_in_solution:bool
    gnss_corrections_used,assurance_level:enum
geodeticposition3d_type latitude,longitude,altitude:f64
gnss_obs prn:i32 satellite_system,type,band,attrib:enum observation:f64
    LLI,signal_strength,lock_count:i32
gpslos_obs prn:i32 channel_state,channel_frequency,channel_code:enum ere:f64 c_n0:i32 assurance:enum
    pseudorange_measurement_valid:bool pseudorange_measurement,pseudorange_measurement_variance:f64
    deltarange_measurement_valid:bool
    deltarange_measurement,deltarange_measurement_variance,deltarange_interval:f64
    sv_position_start,sv_position_stop:f64[3] tropo_correction_applied,iono_correction_applied:bool
    iono_correction_source:enum
interference_type_set interference_band,interference_signal,interference_type:enum
    interference_value:i32
key_type_set key_type:enum remaining_key_time:i32
    key_status,key_load_status,key_zeroization_status:enum
meas_type_set meas_set_id,meas_avail,meas_used:i32
sv_set svid:i32 rinex3_gnss_enum:enum healthy:bool azimuth,elevation:i32 rising:bool
"""

# Each begins with a header.
MESSAGES = """
Altitude altitude,variance:f64
AssuranceState assurance_state:enum
BitEntryStatus requestedEntryAvailable:bool testCodeOfRequestedEntry,subTestCodeOfRequestedEntry:u8
BitReport bit_rollup:bool num_servers_expected,num_servers_available:i32
    bit_components:bit_comp_set[]
ChallengedEnvironment num_interference_types:i32 interference_types:interference_type_set[]
ChannelStatus num_channels:i32 channels:channel_status_obs[]
CommandResponse commanded_device_id,command_identifier:i32 command_response_type:enum
    command_response:string
DeltaTimeAndFrequency dt,variance,freqB:f64
EventLog event_log_type:enum eventlog:string
ForwardReverseStatus DirectionInput,EstimatedDirection:enum
GNSS week_number:i32 seconds_of_week:f64 time_system:enum
    epoch_flag,num_satellites,num_measurements:i32 obs:gnss_obs[]
GNSSSubframe gnss_msg_id:i64 prn:i32 subframe_satellite_system:enum freq_slot_id,num_bytes:i32
    data_vector:u8[]
GPSCryptoStatus num_key_types:i32 key_types:key_type_set[]
GPSLineOfSight num_measurements:i32 obs:gpslos_obs[]
GPSTime rcvr_set_time_sec:i32
    rcvr_set_time_nsec,rcvr_time_bias,rcvr_time_bias_error,rcvr_time_bias_error_rate:f64
    gps_tow_sec:i32 gps_tow_nsec:f64 gps_week:i32 covariance:f64[2][2]
GSSIP num_bytes:i32 data:u8[]
HalcyrinePNT GPS_Time,UTC_Time,ECEF_Pos_X,ECEF_Pos_Y,ECEF_Pos_Z,ECEF_Vel_X,ECEF_Vel_Y,ECEF_Vel_Z:f64
    Roll,Pitch,Heading,Horz_PosError,Vert_PosError,Horz_Vel_Error,Vert_VelError,Time_Error:f64
    Roll_Error,Pitch_Error,Heading_Error:f64
    GPS_Week:i64 HC_PNT_Solution_Assurance:enum
IMU delta_v,delta_theta:f64[3]
MaintenanceEvent fault_sources:lru_comp_set[4]
    criticality_id,category_id,location_id,outcome_id,repeat_in_seconds:i32 identity:char[16]
    description:char[56]
MeasurementIncorporationStatus num_measurement_types:i32 meas_types:meas_type_set[]
NavigationMode navigation_mode:enum
PlatformDynamics velocity,acceleration,attitude,attitude_rate:f64[3] covariance:f64[12][12]
PositionVelocity position:geodeticposition3d_type velocity:f64[3] covariance:f64[6][6]
PositionVelocityAttitude position:geodeticposition3d_type velocity,attitude:f64[3]
    covariance:f64[9][9]
ReceiverStatus rcvr_fail:bool num_satellites_avail,num_satellites_used:i32 pdop,tdop:f64
SVStatus num_svs:i32 svs:sv_set[]
ThreeAxisMagnetometer field:f64[3] covariance:f64[3][3]
TimeAtTheTone
TimeSync SyncCount,Time_NS:i64
UTCTime gps_tow_sec:i32 gps_tow_nsec:f64 gps_week,utc_tod_sec:i32 utc_tod_nsec,a1:f64
    covariance:f64[2][2]
UtcDownlink a0,a1:f64 tot,WNt,delta_t_ls,wn_lsf,dn,delta_t_lsf:i32
Velocity3D x,y,z:f64 covariance:f64[3][3]
"""

# The tests' own message, with every kind of field.
MECHANISM = """
flags id:i32 up,warned:bool
reading channel:u8 value:f64
remark time:i64 level:u8 text:string
Everything header:header enabled:bool code:u8 count:i64 kind:enum ratio:f32 nested:flags
    matrix:f64[2][2] both:reading[2] switches:bool[3] many:flags[] readings:reading[] values:f64[]
    kinds:enum[] remarks:remark[] label:string last:i64
"""

PRIMITIVES = {"f64": "d", "f32": "f", "i64": "q", "i32": "i", "enum": "I", "u8": "B", "bool": "B"}
LONGEST_TEXT = 255
MOST_ELEMENTS = 100


def parse(table):
    """Type names, and for each the pairs of field name and type in wire order."""
    types = {}
    for words in (line.split() for line in re.sub(r"\n ", " ", table.strip()).split("\n")):
        fields = (word.split(":") for word in words[1:])
        types[words[0]] = [(name, kind) for names, kind in fields for name in names.split(",")]
    return types


nested = parse(NESTED)
messages = {name: [("header", "header")] + fields for name, fields in parse(MESSAGES).items()}
mechanism = parse(MECHANISM)
structures = nested | messages | mechanism


class Encoder:
    """Encodes the sample, or with `largest` a value of full length, behind the encapsulation."""

    def __init__(self, order, largest=False):
        self.order, self.largest = order, largest
        self.bytes, self.names = b"", []
        self.count, self.sequence = 0, -1

    def primitive(self, code, value):
        size = struct.calcsize("=" + code)
        self.bytes += b"\0" * (-len(self.bytes) % size) + struct.pack(self.order + code, value)

    def next(self, kind):
        self.count += 1
        n = self.count
        return {"f64": n + 0.25, "f32": n + 0.5, "bool": n % 2, "u8": n % 256}.get(kind, n)

    def text(self):
        return b"t" * LONGEST_TEXT if self.largest else b"text %d" % self.next("string")

    def elements(self, kind, count):
        for _ in range(count):
            self.value(kind)

    def value(self, kind):
        base, first, rest = re.fullmatch(r"(\w+)(?:\[(\d*)\])?(.*)", kind).groups()
        if kind in PRIMITIVES:
            self.primitive(PRIMITIVES[kind], self.next(kind))
        elif kind == "string":
            text = self.text() + b"\0"
            self.primitive("I", len(text))
            self.bytes += text
        elif base == "char":
            self.bytes += self.text()[:int(first)].ljust(int(first), b"\0")
        elif first == "":
            self.bytes += b"\0" * (-len(self.bytes) % 4)
            self.sequence = len(self.bytes)
            count = MOST_ELEMENTS if self.largest else 2
            self.primitive("I", count)
            self.elements(base, count)
        elif first:
            self.elements(base + rest, int(first))
        else:
            self.structure(kind)

    def structure(self, name):
        for field, kind in structures[name]:
            self.names.append(field)
            self.value(kind)
        return self


def is_plain(kind):
    base = kind.split("[")[0]
    if base in structures:
        return not kind.endswith("[]") and all(is_plain(inner) for _, inner in structures[base])
    return base not in ("enum", "string") and not kind.endswith("[]")


def line(name):
    little, big = Encoder("<").structure(name), Encoder(">").structure(name)
    return "\t".join([
        name, "message" if name in messages else "nested",
        str(len(Encoder("<", largest=True).structure(name).bytes)),
        "plain" if is_plain(name) else "mixed", str(little.sequence), " ".join(little.names),
        little.bytes.hex(), big.bytes.hex()])


without_support = ("timestamp", "header", "geodeticposition3d_type", "flags", "remark")
names = [name for name in structures if name not in without_support]
pathlib.Path(__file__).with_name("golden.txt").write_text("\n".join(map(line, names)) + "\n")
