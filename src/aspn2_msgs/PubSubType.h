/** The one type support of all messages: what Fast DDS calls to move a sample in and out of a
 *  payload. A payload holds the 4-byte encapsulation header and the message's CDR form.
 */
#pragma once

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <functional>
#include <new>

#include "aspn2_msgs/Cdr.h"

namespace aspn2_msgs {

/** What no type support needs its message's type for. It keeps no state between calls, so one
 *  object serves any number of threads and messages; making one costs an allocation, for the type's
 *  name. Neither `serialize` nor `deserialize` allocates, unless a string or sequence read in
 *  outgrows the capacity that `data` has.
 */
class AnyPubSubType : public eprosima::fastdds::dds::TopicDataType {
public:
    using Payload = eprosima::fastrtps::rtps::SerializedPayload_t;

    /** The encapsulation header in front of each message [bytes]. */
    static constexpr std::size_t encapsulationSize = Payload::representation_header_size;

    /** Writes `data`, a message of the type, to the payload's buffer of `max_size` bytes, and sets
     * its length and encapsulation. False when the buffer is too small. */
    bool serialize(void* data, Payload* payload) override;

    /** Reads the payload's `length` bytes into `data`, a message of the type; bytes behind it are
     *  left alone. False for whatever is no such message, and `data` may then hold some of its
     *  fields. Throws nothing: the bytes come from outside. */
    bool deserialize(Payload* payload, void* data) override;

    /** The size of the payload that `data` will need. `data` and this object outlive the function
     *  returned. */
    std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override;

    /** No type has a key. */
    bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle,
                bool forceMd5) override;

    bool is_bounded() const override { return m_isPlain; }
    bool is_plain() const override { return m_isPlain; }

protected:
    /** `maxSize`: of the message, without its encapsulation. */
    AnyPubSubType(const char* name, std::size_t maxSize, bool hasKey, bool isPlain);

private:
    virtual void write(eprosima::fastcdr::Cdr& cdr, const void* data) const = 0;
    virtual void read(const char* bytes, std::size_t size, cdr::Order order, void* data) const = 0;
    virtual std::size_t sizeOf(const void* data) const = 0;

    const bool m_isPlain;
};

/** Every `TPubSubType` derives from this. */
template <cdr::Structure T>
class PubSubType : public AnyPubSubType {
public:
    using type = T;

    PubSubType()
        : AnyPubSubType(T::cdrTypeName, T::getMaxCdrSerializedSize(0), T::isKeyDefined(),
                        cdr::Rule<T>::isPlain) {}

    void* createData() override { return new T(); }
    void deleteData(void* data) override { delete static_cast<T*>(data); }

    bool construct_sample(void* memory) const override {
        if constexpr (cdr::Rule<T>::isPlain) {
            new (memory) T();
        }
        return cdr::Rule<T>::isPlain;
    }

private:
    void write(eprosima::fastcdr::Cdr& cdr, const void* data) const override {
        static_cast<const T*>(data)->serialize(cdr);
    }
    void read(const char* bytes, std::size_t size, cdr::Order order, void* data) const override {
        if (T& value = *static_cast<T*>(data); order == cdr::Order::native) {
            cdr::read<cdr::Order::native>(bytes, size, value);
        } else {
            cdr::read<cdr::Order::swapped>(bytes, size, value);
        }
    }
    std::size_t sizeOf(const void* data) const override {
        return T::getCdrSerializedSize(*static_cast<const T*>(data), 0);
    }
};

}  // namespace aspn2_msgs

/** Declares the type support `TPubSubType` in its header, within namespace aspn2_msgs::idl. */
#define ASPN2_DECLARE_PUBSUBTYPE(T) \
    class T##PubSubType : public ::aspn2_msgs::PubSubType<T> {};
