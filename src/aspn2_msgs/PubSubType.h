/** The one type support of all messages: what Fast DDS calls to move a sample in and out of a
 *  payload. A payload holds the 4-byte encapsulation header and the message's CDR form.
 */
#pragma once

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <functional>
#include <new>

#include "aspn2_msgs/Cdr.h"

namespace aspn2_msgs {

/** Every `TPubSubType` derives from this. It keeps no state between calls, so one object serves any
 *  number of threads and messages; making one costs an allocation, for the type's name. Neither
 *  `serialize` nor `deserialize` allocates, unless a string or sequence read in outgrows the
 *  capacity that `data` has.
 */
template <cdr::Structure T>
class PubSubType : public eprosima::fastdds::dds::TopicDataType {
public:
    using type = T;
    using Payload = eprosima::fastrtps::rtps::SerializedPayload_t;

    /** The encapsulation header in front of each message [bytes]. */
    static constexpr std::size_t encapsulationSize = Payload::representation_header_size;

    PubSubType() {
        setName(T::cdrTypeName);
        m_typeSize = static_cast<std::uint32_t>(T::getMaxCdrSerializedSize(0) + encapsulationSize);
        m_isGetKeyDefined = T::isKeyDefined();
    }

    /** Writes `data`, a T, to the payload's buffer of `max_size` bytes, and sets its length and
     *  encapsulation. False when the buffer is too small. */
    bool serialize(void* data, Payload* payload) override {
        using eprosima::fastcdr::Cdr;
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data),
                                             payload->max_size);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        payload->encapsulation = encapsulationOf(cdr);
        try {
            cdr.serialize_encapsulation();
            static_cast<const T*>(data)->serialize(cdr);
        } catch (const eprosima::fastcdr::exception::NotEnoughMemoryException&) {
            return false;
        }
        payload->length = static_cast<std::uint32_t>(cdr.getSerializedDataLength());
        return true;
    }

    /** Reads the payload's `length` bytes into `data`, a T; bytes behind the message are left
     * alone. False for whatever is no such message, and `data` may then hold some of its fields.
     * Throws nothing: the bytes come from outside. */
    bool deserialize(Payload* payload, void* data) override {
        using eprosima::fastcdr::Cdr;
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data),
                                             payload->length);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        try {
            cdr.read_encapsulation();
            payload->encapsulation = encapsulationOf(cdr);
            static_cast<T*>(data)->deserialize(cdr);
        } catch (...) {
            return false;
        }
        return true;
    }

    /** The size of the payload that `data` will need. `data` outlives the function returned. */
    std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override {
        return [message = static_cast<const T*>(data)] {
            return static_cast<std::uint32_t>(T::getCdrSerializedSize(*message, 0) +
                                              encapsulationSize);
        };
    }

    void* createData() override { return new T(); }
    void deleteData(void* data) override { delete static_cast<T*>(data); }

    /** No type has a key. */
    bool getKey(void* /*data*/, eprosima::fastrtps::rtps::InstanceHandle_t* /*handle*/,
                bool /*forceMd5*/) override {
        return false;
    }

    bool is_bounded() const override { return cdr::Rule<T>::isPlain; }
    bool is_plain() const override { return cdr::Rule<T>::isPlain; }

    bool construct_sample(void* memory) const override {
        if constexpr (cdr::Rule<T>::isPlain) {
            new (memory) T();
        }
        return cdr::Rule<T>::isPlain;
    }

private:
    static std::uint16_t encapsulationOf(const eprosima::fastcdr::Cdr& cdr) {
        return cdr.endianness() == eprosima::fastcdr::Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE;
    }
};

}  // namespace aspn2_msgs

/** Declares the type support `TPubSubType` in its header, within namespace aspn2_msgs::idl. */
#define ASPN2_DECLARE_PUBSUBTYPE(T) \
    class T##PubSubType : public ::aspn2_msgs::PubSubType<T> {};
