/** The server: the one place where receiver, VICTORY service and system meet.
 *
 *  `main` holds one object and drives it through the life cycle below; the callbacks run on threads
 *  of others. Its code lies in one source per concern:
 *
 *  | source | concern | threads |
 *  |---|---|---|
 *  | VGpsReceiverServer.cpp | life cycle | main |
 *  | VGpsReceiverServerConfiguration.cpp | configuration | main |
 *  | VGpsReceiverServerFramework.cpp | connecting, disconnecting | main |
 *  | VGpsReceiverServerGssip.cpp | receiver traffic | queue callback; WriteBytes: any |
 *  | VGpsReceiverServerCommands.cpp | system topics, bus commands | transport, library, sanitizer |
 *  | VGpsReceiverServerVictory.cpp | the service's bring-up | main, sanitizer; VCL save: library |
 *  | VGpsReceiverServerSettings.cpp | settings of the receiver | library |
 *  | VGpsReceiverServerHotStart.cpp | hot start, data transfer | library; cbDtOut: queue callback |
 *  | VGpsReceiverServerStatus.cpp | receiver status, status 2 | queue callback, library |
 *  | VGpsReceiverServerHealth.cpp | satellite health | queue callback |
 *  | VGpsReceiverServerWarnings.cpp | warning queue | any |
 *  | VGpsReceiverServerFaultTest.cpp | fault test mode | fault test |
 *  | VGpsReceiverServerMaintenance.cpp | what the library prints | whichever printed |
 *
 *  Of the locks below a thread of ours holds at most one at a time.
 */
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include "ASPN/AspnCmdResponse.h"
#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/Utilities/VictoryFaultHelper.h"
#include "VICTORY/VGpsReceiverServer/SerialWorker.h"
#include "VICTORY/VGpsReceiverServer/ServiceHandle.h"
#include "VICTORY/VGpsReceiverServer/WarningQueue.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "face/FACE_Common.h"
#include "face/FACE_String.h"
#include "ioss/HC_Devmem.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "receiver/GssipMessage.h"
#include "receiver/Tyrn5040Msg.h"
#include "receiver/Tyrn8040Msg.h"
#include "receiver/Tyrn8504Msg.h"
#include "receiver/TyrnSVRiseMsg.h"
#include "tss/HC_TSS.h"
#include "tss/HC_TypedTS.h"
#include "utilities/Mutex.h"
#include "utilities/OutputRedirector.h"
#include "utilities/SourcePlace.h"
#include "utilities/WatchdogTimer.h"
#include "victory/victory.h"

/** Container of the top-level configuration that describes the system. */
inline constexpr const char* SYST_NAME = "Halcyrine";

/** Configuration of the VICTORY service, read at every start of the service. */
inline constexpr const char* configFileName =
    "/opt/halcyrine/config/GPSReceiverServiceConfig_1_9.xml";
/** What the service publishes and how often; rewritten only on the library's request. */
inline constexpr const char* vclFileName = "/opt/halcyrine/config/GPSReceiver_VCL_1_9.xml";

class VGpsReceiverServer
    : public FACE::LCM::Initializable::InitializableInstance,
      public FACE::LCM::Configurable::ConfigurableInstance,
      public FACE::LCM::Connectable::ConnectableInstance,
      public FACE::LCM::Halcyrine::RequestedState_ReportedState::Stateful::StatefulInstance,
      public IWriteByteStreams {
public:
    using ReturnCode = FACE::RETURN_CODE_TYPE::Value;
    using ReportedState = FACE::LCM::Halcyrine::ReportedState::Value;
    using RequestedState = FACE::LCM::Halcyrine::RequestedState::Value;

    /** Codes of VgpscWarningMessage that the server itself gives. */
    static constexpr VgpscWarningMessage zeroizePassed = 2;
    static constexpr VgpscWarningMessage zeroizeFailed = 3;
    static constexpr VgpscWarningMessage customWarning = 62;
    /** The receiver's datum, in every status record and told once as device data. */
    static constexpr unsigned datumCode = 206;
    /** Messages whose times of validity differ by less belong together [s]. */
    static constexpr double sameMomentSeconds = 0.5;
    /** How long a hot start may run from its acknowledgement on; a test may shorten it. */
    static inline std::chrono::milliseconds hotStartLimit = std::chrono::seconds(60);
    /** How long a client's thread waits for the answer to a hot or warm start, for the start and
     *  for the end of a transfer out; a test may shorten them. */
    static inline std::chrono::milliseconds hotStartAnswerLimit = std::chrono::seconds(10);
    static inline std::chrono::milliseconds warmStartAnswerLimit = std::chrono::seconds(10);
    static inline std::chrono::milliseconds transferStartLimit = std::chrono::seconds(10);
    static inline std::chrono::milliseconds transferLimit = std::chrono::seconds(120);

    /** From one look at the console's keys to the next in test mode; a test may shorten it. */
    static inline std::int32_t faultTestPollMs = 250;

    /** Touches no device and no file. */
    VGpsReceiverServer();
    VGpsReceiverServer(const VGpsReceiverServer&) = delete;
    VGpsReceiverServer& operator=(const VGpsReceiverServer&) = delete;
    /** Releases what is still up, also after a life cycle that ended half way. */
    ~VGpsReceiverServer() override;

    // Life cycle, on the main thread alone, in this order.

    void Initialize(ReturnCode& rc) override;
    void Finalize(ReturnCode& rc) override;

    /** Reads the top-level configuration `file` and applies priority and processor, which every
     *  thread started later inherits.
     *  @param[out] rc NO_ERROR, or INVALID_CONFIG whatever failed
     */
    void Configure(const FACE::String& file, ReturnCode& rc) override;

    /** Brings up transport, devices, reporters and the VICTORY service. `file` is not read.
     *  @param[out] rc NO_ERROR, or INVALID_CONFIG when a part did not come up
     *  @throws std::runtime_error when the FPGA can't be used or a reporter does not start
     */
    void Framework_Connect(const FACE::String& file, ReturnCode& rc) override;
    /** @param[out] rc always NO_ERROR */
    void Framework_Disconnect(ReturnCode& rc) override;

    void Query_State(ReportedState& state, ReturnCode& rc) override;
    /** @param[out] rc NOT_AVAILABLE, with nothing changed, for a state that is reached already */
    void Request_State_Transition(RequestedState requested, ReturnCode& rc) override;

    /** In test mode, start and join the fault test thread. */
    void Start();
    void Stop();

    // Receiver traffic.

    /** Takes a message of the receiver, at most one at a time, on the queue callback thread, which
     *  holds the queue's poll mutex and the adapter's. Lets no exception out. Once every buffer
     *  has its size it allocates nothing.
     */
    void cbGssip(const aspn2_msgs::idl::GSSIP& message);
    void handleBlock5042(const unsigned char* frame, unsigned int bytes);
    void handleBlock5044(const unsigned char* frame, unsigned int bytes);

    /** Takes a message of a transfer out, on the same thread under the same terms. A frame longer
     *  than its place in the record is not kept. */
    void cbDtOut(const aspn2_msgs::idl::GSSIP& message);

    /** Sends a message to the receiver, on the caller's thread, which waits while the receiver does
     *  not read, at most for mcsWriterPort::writeLimit. `bytes` is only printed.
     *  @return 1, or 0 for a null message
     */
    int publishGSSIPmessage(GssipMessage* message, int bytes);
    /** Wraps a finished frame and writes it to the receiver's channel; a failed write is an event.
     *  @return 0
     */
    int WriteBytes(const void* bytes, unsigned int length) override;

    // System topics, on threads of the transport or of a sender of this process, one sample of a
    // connection at a time, with no lock of ours held. Neither lets an exception out.

    /** Takes a command that any server sent; one that is known is carried out and answered. */
    void cbCmd(const aspn2_msgs::idl::CommandResponse& message);
    /** Takes a response to a command of this server and wakes whoever waits for it. */
    void cbRsp(const aspn2_msgs::idl::CommandResponse& message);

    /** Sends a command to the system. Any thread. @return whether it went out */
    bool sendCommandResponseMessage(const std::string& text);

    /** Restarts the VICTORY service with the periods of status and health reports at
     *  `milliseconds`; the VCL file stays as it is. Waits for callbacks of the service under way.
     *  @return false, with the service running on, below 1000 ms and when the VCL can't be read
     */
    bool updateVDMdataRate(unsigned long milliseconds);

    // The VICTORY service. Main thread, or the sanitizer's.

    /** Makes and starts the service with the VCL `text`, or with that of `vclFileName` for null.
     *  @return whether the service is up
     */
    bool InitializeVictory(const char* text);
    /** @return true when a running service was stopped. No callback runs any more then */
    bool ShutdownVictory();

    /** Takes what was printed through C stdio, on the thread that printed it, one piece at a time:
     *  a sender's fault becomes maintenance events. What this prints itself does not come back.
     *  @return `length` when the text was taken, 0 when it belongs on the console; so is a null one
     */
    unsigned int logMaintenanceEvent(char const* text, unsigned int length);

    // Callbacks of the service, on threads of the library. `data` is the server. None lets an
    // exception out; set callbacks return 0 when the request was carried out, else 1.

    static int cbSaveVclidCallback(void* data, VgpssService* service, const char* vclXml);
    static void cbTellStatus2DataCallback(void* data, VgpssService* service);
    /** Carries out a zeroize of the keys and refuses everything else. Waits for the answer to each
     *  zeroize, at most the request time-out. */
    static int cbSetCommandCallback(void* data, VgpssService* service, VgpsCommandData commands);

    // Settings of the receiver, offered in test mode. What is set goes to the receiver and is told
    // at once, and the receiver's next report of it, which still holds the old value, is passed
    // over. The methods are the callbacks behind their checks, for the same threads.

    static int cbSetMagneticVariationCallback(void* data, VgpssService* service,
                                              VgpscMagneticVariation source, double variation);
    /** `variation` [deg] counts for source 0, local; for source 1, calculated, the receiver's last
     *  takes its place. A source beyond is refused, yet told and sent as a message without a value.
     *  A variation that isn't finite is refused and goes nowhere.
     */
    int setMagneticVariationCallbackMethod(VgpssService* service, VgpscMagneticVariation source,
                                           double variation);
    static int cbSetMissionDurationCallback(void* data, VgpssService* service, unsigned duration);
    /** A duration that the receiver does not take, above 84, changes nothing. */
    int setMissionDurationCallbackMethod(VgpssService* service, unsigned duration);
    /** Does nothing, successfully: the service keeps hearing the mode that the receiver reports. */
    static int cbSetOperatingModeCallback(void* data, VgpssService* service,
                                          VgpscOperatingMode mode);

    // Hot start. The record of saved messages crosses by value, 613 KB on the caller's stack; it is
    // passed on by reference and copied only by the Tell.

    /** Starts the receiver hot from the port of that name. Waits for the system's answer, at most
     *  hotStartAnswerLimit. Refused, too, while another hot start runs. */
    static int cbSetReceiverHotStartPortCallback(void* data, VgpssService* service,
                                                 VgpscReceiverHotStartPort port);
    int setReceiverHotStartPortCallbackMethod(VgpssService* service,
                                              VgpscReceiverHotStartPort port);
    /** Plays saved messages to the receiver, one record at a time; a second is refused meanwhile.
     *  Waits for the system's answer, at most warmStartAnswerLimit, and for a receiver that is slow
     *  to read, as publishGSSIPmessage. A record that claims more than it can hold is refused in
     *  whatever mode. */
    static int cbSetReceiverHotStartDataCallback(void* data, VgpssService* service,
                                                 VgpscReceiverHotStartData record);
    int setReceiverHotStartDataCallbackMethod(VgpssService* service,
                                              const VgpscReceiverHotStartData& record);
    /** Fetches the receiver's messages for a hot start and tells them. Waits at most for
     *  transferStartLimit and transferLimit.
     *
     *  Registered nowhere: it would answer for a publish group of its own, and which of the
     *  service's groups that is, is the library's to say. So no transfer out is ever asked for.
     */
    static void cbTellReceiverHotStartDataCallback(void* data, VgpssService* service);
    void tellReceiverHotstartData(VgpssService* service);

    // Records for the service: pure functions of the receiver's messages.

    static VgpscReceiverChannelData encodeVictoryChannelStatus(
        const Tyrn_8504_Msg::msg_8504_status_type& channel);
    /** All of the status record. */
    static VgpscReceiverStatusData makeReceiverStatus(
        const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
        const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504);
    /** The status 2 fields that message 8040 gives. */
    static VgpscReceiverStatus2Data makeReceiverStatus2(
        const Tyrn_8040_Msg::unpacked_msg8040_t& msg8040);
    /** Date and time of message 5040, whether they count or not. */
    static VgpscDateTime makeDateTime(const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040);
    /** Date and time of message 8504.
     *  @return whether the date is known; if not, `date` is left as it was
     */
    static bool makeDateTime(const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504, VgpscDateTime& date);
    /** Factor to degrees. */
    static double northRefCorrectionUnitsConvert(std::uint16_t units);
    /** Factor to metres. */
    static double positionErrorUnitsConvert(std::uint16_t units);
    static void encodeVictorySVHealth(const Tyrn_SVRise_Msg::unpacked_svRise_t& slot,
                                      VgpscSvHealthStatusData& health,
                                      VgpscSvHealthStatus2Data& place);

    /** Tell the service what the messages say. */
    void encodeVictoryGpsReceiverStatus(const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
                                        const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504)
        REQUIRES(m_receiverDataMutex);
    void encodeVictoryGpsSVHealthStatus(const Tyrn_SVRise_Msg::unpacked_SVRise_msg_t& rise1,
                                        const Tyrn_SVRise_Msg::unpacked_SVRise_msg_t& rise2,
                                        const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504)
        REQUIRES(m_receiverDataMutex);

    // Warnings, from any thread, holding no lock of this class.

    static VgpscWarningMessage encodeVictoryWarningId(std::uint16_t number);
    bool appendVDBWarning(const VgpscReceiverWarningMessage& warning);
    /** A text longer than 255 characters is cut. */
    bool sendVDBcustomWarning(const std::string& text);
    /** Tells the client how a zeroize of the receiver's keys ended.
     *  @return whether a warning was queued
     */
    bool sendVDBCompleteWarning(ClearDataCommand::ClearDataType type, bool pass,
                                const std::string& text);

private:
    using CommandTS = FACE::TSS::Details::HC_TypedTS<aspn2_msgs::idl::CommandResponse>;
    using EventLogTS = FACE::TSS::Details::HC_TypedTS<aspn2_msgs::idl::EventLog>;
    using MaintenanceTS = FACE::TSS::Details::HC_TypedTS<aspn2_msgs::idl::MaintenanceEvent>;

    enum class HotStartState : std::int32_t { idle = 0, requested = 1, accepted = 2 };
    enum class TransferState : std::int32_t {
        idle = 0,
        requested = 1,
        collecting = 2,
        complete = 3
    };

    /** A system command and what it starts; a response and who waits for it. */
    struct Command;
    struct Response;
    static const std::array<Command, 5> s_commands;
    static const std::array<Response, 3> s_responses;

    /** Codes by the receiver's warning number. Constant, so that a restart of the service has
     *  nothing to fill while receiver messages flow. */
    static constexpr std::size_t warningNumbers = 82;
    static consteval std::array<VgpscWarningMessage, warningNumbers> initWarningIdEncoder();
    static const std::array<VgpscWarningMessage, warningNumbers> m_warningIds;

    /** A receiver message as its frame lies in the queue record: at least 4 bytes. */
    struct Frame {
        const unsigned char* data;
        unsigned int bytes;
    };
    struct Handler;
    static const std::array<Handler, 7> s_handlers;
    /** No frame shorter than this has a message id [bytes]. */
    static constexpr std::size_t shortestFrame = 4;

    // Configuration.
    /** @return whether `file` gave every setting */
    bool readConfiguration(FACE::Configuration& config, const FACE::String& file,
                           unsigned short& priority, unsigned short& cpu);
    /** Hands the clear-data machine its times and callbacks. */
    void configureClearData();
    void GetSystemParameters(FACE::Configuration& config, int handle, FACE::String& system,
                             FACE::String& configuration, ReturnCode& rc);
    void GetConfigParameters(FACE::Configuration& config, int handle, FACE::String& connections,
                             FACE::String& devices, bool& debug, unsigned short& priority,
                             unsigned short& cpu, bool& quiet, bool& testMode,
                             unsigned short& gssipSource, unsigned short& inProgressTimeout,
                             unsigned short& requestTimeout, ReturnCode& rc);
    /** @return whether priority and processor, where asked for, were both set */
    bool applyScheduling(unsigned short priority, unsigned short cpu) const;

    // Connecting.
    /** @return whether participant, connections and callbacks are all there */
    bool connectTransport();
    bool createConnections();
    bool registerTopicCallbacks();
    void startReporters();
    void publishVersions();
    void disconnectTransport();
    bool connectDevices();

    // System topics.
    void selectLiveMode(const aspn2_msgs::idl::CommandResponse& command);
    void selectSimulationMode(const aspn2_msgs::idl::CommandResponse& command);
    void answerPing(const aspn2_msgs::idl::CommandResponse& command);
    void startSanitize(const aspn2_msgs::idl::CommandResponse& command);
    /** The sanitizer's job. */
    void endReports();
    void acceptHotStart() REQUIRES(m_hotStartMutex);
    void answer(const aspn2_msgs::idl::CommandResponse& response);
    /** @return false, with an event, when the message could not be sent */
    bool publish(long long connection, const aspn2_msgs::idl::CommandResponse& message);
    /** @return whether the message went out */
    bool send(long long connection, const aspn2_msgs::idl::CommandResponse& message);
    void takeResponse(const aspn2_msgs::idl::CommandResponse& message);
    void takeWarmStartResponse(ASPN2::ResponseType::Value type);
    void takeDataTransferResponse(ASPN2::ResponseType::Value type);
    void takeHotStartResponse(ASPN2::ResponseType::Value type);
    /** Runs `body` for a callback of a topic or queue: exceptions end in a report at `place`. */
    template <typename Body>
    void guardTopic(const char* operation, const char* unknown, Body body,
                    utilities::SourcePlace place = utilities::SourcePlace::current());

    // Commands of the bus.
    int setCommands(const VgpsCommandData& commands);
    /** Why a command is not carried out; empty for one that is. */
    std::string refusalOf(const VgpsCommand& command) const;
    void refuseCommand(const std::string& text);
    /** Runs `body`; an exception is reported and gives false. */
    template <typename Body>
    bool guardWarning(Body body);
    bool queueCompleteWarning(ClearDataCommand::ClearDataType type, bool pass,
                              const std::string& text);

    // Receiver messages, each on the queue callback thread.
    void handle5040(Frame frame);
    void handle8504(Frame frame);
    void handle8040(Frame frame);
    void handle5042(Frame frame) { handleBlock5042(frame.data, frame.bytes); }
    void handle5044(Frame frame) { handleBlock5044(frame.data, frame.bytes); }
    void handle5047(Frame frame);
    void handle5048(Frame frame);
    using RiseRecord = Tyrn_SVRise_Msg::unpacked_SVRise_msg_t;
    void handleRise(std::uint16_t id, Frame frame, RiseRecord VGpsReceiverServer::*cache,
                    std::atomic<bool>& have);
    void dispatch(const aspn2_msgs::idl::GSSIP& message);
    /** NO_ACTION when nothing reached the queue; waits as publishGSSIPmessage does. */
    ReturnCode writeToReceiver(long long connection, const aspn2_msgs::idl::GSSIP& message);

    // Hot start. Commands go out with no lock held: a topic's thread that wants the lock may hold
    // what the sending needs.
    /** @return whether the hot start is ours to request: none was under way */
    bool beginHotStart();
    void endHotStartRequest();
    /** @return whether the answer was an acknowledgement */
    bool requestHotStart(const std::string& text);
    bool requestWarmStart();
    /** @return whether the system accepted and the whole record was played */
    bool warmStart(const VgpscReceiverHotStartData& record);
    bool playToReceiver(const VgpscReceiverHotStartData& record);
    void writeTransfer(aspn2_msgs::idl::GSSIP& message, std::uint64_t sequence,
                       std::span<const std::uint8_t> frame);
    void takeTransfer(const aspn2_msgs::idl::GSSIP& message);
    void keepTransferFrame(std::uint16_t number, std::span<const std::uint8_t> frame)
        REQUIRES(m_dtMutex);
    bool beginTransferOut();
    void endTransferOut();
    /** @return whether the transfer has come so far within `limit` */
    bool awaitTransfer(TransferState state, std::chrono::milliseconds limit) REQUIRES(m_dtMutex);

    /** Tell a report whose messages are all there and of one moment. */
    void checkStatus();
    void checkHealth();
    // The service.
    /** Points C stdio's streams at logMaintenanceEvent; changes nothing once they are. */
    void captureLibraryOutput();
    bool bringUpVictory(const char* text);
    void registerVictoryCallbacks(VgpssService* service);
    void registerSettings(VgpssService* service);
    void initVictoryManagementData(VgpssService* service);
    VgpscReceiverPorts makeReceiverPorts() const;
    /** What a hot start from saved messages would use before any were saved; on the heap, being too
     *  large for some stacks. */
    static std::unique_ptr<VgpscReceiverHotStartData> makeDefaultHotStart();
    int saveVclid(const char* vclXml);
    /** The fault test thread. */
    void faultTestThreadFunction();
    /** Takes one key. Keeps the handle from being taken meanwhile. */
    void checkForFaultTestEvents();
    /** @return whether a sanitize forbids `what`, which is then reported */
    bool refuseInSanitize(const char* what,
                          utilities::SourcePlace place = utilities::SourcePlace::current());
    void tellStatus2Data(VgpssService* service);
    void tellMagneticVariation(VgpssService* service, std::uint32_t source, double degrees);

    /** A warning whose words are `text`, of which 255 characters fit. */
    static VgpscReceiverWarningMessage makeWarning(VgpscWarningMessage messageId,
                                                   std::string_view text);

    /** Sends an event of this type and prints the text, whatever `m_quiet` says. */
    static void report(const std::string& text,
                       HealthReporter::eEventType type = HealthReporter::EVENT_WARNING,
                       utilities::SourcePlace place = utilities::SourcePlace::current());
    /** The report of what a callback of ours caught: an event, and a line that names the place. */
    static void reportException(const char* operation, const char* separator,
                                const std::string& text,
                                utilities::SourcePlace place = utilities::SourcePlace::current());
    /** Runs `body` for a callback of the library: null data and exceptions end in a report.
     *  @return what `body` returns, `onNull` for null data, 1 after an exception
     */
    template <typename Body>
    static int guardCallback(void* data, int onNull, Body body);

    const std::uint8_t m_serverId = 46;
    const std::string m_serverName;

    // Settings: written by Configure before any other thread exists, constant afterwards.
    bool m_debug = false;
    std::uint8_t m_gssipSourceServerId = 39;
    FACE::String m_systemName;
    FACE::String m_configurationName;
    FACE::String m_connectionsFile;
    FACE::String m_ioDevicesFile;
    bool m_testMode = false;
    bool m_quiet = true;
    std::int64_t m_clearDataInProgressTimeoutSeconds = 7200;
    std::int64_t m_clearDataRequestTimeoutSeconds = 12;

    std::atomic<ReportedState> m_state{FACE::LCM::Halcyrine::ReportedState::STOPPED};
    ASPN2::DeviceIdFactory m_deviceIdFactory;

    // The system's topics: set while connecting, constant afterwards.
    ASPN2::CmdResponse m_cmdResponse;
    long long m_commandConnection = -1;
    long long m_responseConnection = -1;
    long long m_eventLogConnection = -1;
    long long m_maintenanceConnection = -1;
    std::shared_ptr<FACE::TSS::HC_TSS> m_tss;
    std::shared_ptr<CommandTS> m_commandResponseTS;
    std::shared_ptr<EventLogTS> m_eventLogTS;
    std::shared_ptr<MaintenanceTS> m_maintenanceTS;

    // To the receiver.
    std::atomic<std::int64_t> m_gssipSeqNum{0};
    std::atomic<std::uint32_t> m_gssipPublishErrors{0};
    /** Taken while the factory's base is 0: the receiver knows frames of ours by kind alone. */
    const std::uint32_t m_deviceId;
    std::shared_ptr<FACE::IOSS::HC_Devmem> m_devmem;
    std::shared_ptr<GssipMcsq> m_gssipMcsq;
    long long m_gssipWriteConnection = -1;
    long long m_dtInConnection = -1;

    // From the receiver. Held through an encode and its Tell calls, which never wait.
    utilities::Mutex m_receiverDataMutex;
    Tyrn_5040_Msg::unpacked_msg5040_t m_msg5040 GUARDED_BY(m_receiverDataMutex){};
    Tyrn_8504_Msg::unpacked_msg8504_t m_msg8504 GUARDED_BY(m_receiverDataMutex){};
    Tyrn_SVRise_Msg::unpacked_SVRise_msg_t m_msg5047 GUARDED_BY(m_receiverDataMutex){};
    Tyrn_SVRise_Msg::unpacked_SVRise_msg_t m_msg5048 GUARDED_BY(m_receiverDataMutex){};
    // Set when a message has come, cleared by the report that used it; tested outside the lock.
    std::atomic<bool> m_have5040{false};
    std::atomic<bool> m_have8504Status{false};
    std::atomic<bool> m_have8504Health{false};
    std::atomic<bool> m_have5047{false};
    std::atomic<bool> m_have5048{false};

    // The VICTORY service.
    ServiceHandle m_vgpssService;
    std::array<char, 65536> m_serviceConfigXml{};
    std::array<char, 65536> m_vclXml{};
    std::atomic<bool> m_victoryRunning{false};
    const double m_publishPeriod = 1.0;
    /** Set when a system zeroize or destroy begins, never cleared. */
    std::atomic<bool> m_sanitizeInProgress{false};
    /** While true no status or health record is told. */
    std::atomic<bool> m_tellDisabled{false};
    /** The fault test thread's own, while that runs. */
    VictoryFaultHelper m_faultHelper;
    std::atomic<bool> m_faultTestStop{false};

    // Warnings and status 2. Held through the Tell of status 2.
    mutable utilities::Mutex m_vdbWarningMutex;
    Tyrn_8040_Msg::unpacked_msg8040_t m_msg8040 GUARDED_BY(m_vdbWarningMutex){};
    WarningQueue m_vdbWarnings GUARDED_BY(m_vdbWarningMutex);

    // Exchanges of a hot start: the answer to a command, and its waiter.
    utilities::Mutex m_hotStartMutex;
    utilities::Condition m_hotStartCondition;
    /** Changes under the mutex, save by the watchdog. */
    std::atomic<HotStartState> m_hotStartState{HotStartState::idle};
    bool m_hotStartResponse GUARDED_BY(m_hotStartMutex) = false;
    /** A client is at its request, answered or not: the answer waits for nobody else. */
    bool m_hotStartBusy GUARDED_BY(m_hotStartMutex) = false;
    /** An acknowledgement has come. The state alone could not tell: it may have ended already. */
    bool m_hotStartAccepted GUARDED_BY(m_hotStartMutex) = false;
    utilities::Mutex m_warmStartMutex;
    utilities::Condition m_warmStartCondition;
    bool m_warmStartResponse GUARDED_BY(m_warmStartMutex) = false;
    bool m_warmStartAccepted GUARDED_BY(m_warmStartMutex) = false;
    /** A record is being played. Not the mutex: a receiver that does not read would hold up the
     *  response topic with it. */
    std::atomic<bool> m_warmStartBusy{false};
    utilities::Mutex m_dtMutex;
    utilities::Condition m_dtCondition;
    /** Changes under the mutex; the receiver's thread reads it without. */
    std::atomic<TransferState> m_dtState{TransferState::idle};
    /** Collects a transfer; there while one is wanted. */
    std::unique_ptr<VgpscReceiverHotStartData> m_hotStartData GUARDED_BY(m_dtMutex);
    /** Frames of the transfer that were too long to keep. */
    unsigned m_dtRefusedFrames GUARDED_BY(m_dtMutex) = 0;

    // Settings of the receiver, touched by receiver and library threads without a lock.
    std::atomic<double> m_magneticVariation{360.0};
    std::atomic<bool> m_skipReceiverMagVar{false};
    std::atomic<bool> m_skipMissionDuration{false};
    std::atomic<bool> m_missionDurationValid{false};
    std::atomic<std::uint16_t> m_missionDuration{0};

    // Their threads reach into what is declared above, and end first.
    /** Restarts the service when a sanitize begins. Not on the topic's own thread: that one holds
     *  the reader's lock, which a zeroize needs to go out on the same topic, and brings the answer
     *  that the zeroize waits for, while the restart waits for the zeroize. */
    SerialWorker m_sanitizer{[this] { endReports(); }};
    WatchdogTimer m_hotStartWatchdog;
    ClearDataCommand m_clearData;
    COutputRedirector m_outputRedirector;
    std::thread m_faultTestThread;
};
