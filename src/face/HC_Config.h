/** The configuration service over one XML file. */
#pragma once

#include <map>
#include <memory>
#include <string>

#include "face/FACE_Common.h"
#include "utilities/Mutex.h"

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace FACE {

/** Reads the file once and serves its containers by handle; a written value goes straight back to
 *  the file.
 *
 *  Form of the file: root "HC_Configurations"; each child a container, its tag the type; in it a
 *  "Name" and "Parameters", whose children are the parameters. The first child of a name wins. A
 *  child without a "Name" text is no container and is passed over everywhere. An empty parameter
 *  name stands for the container's own name, which can be read, not written.
 *
 *  The mutex covers Initialize and the save in Write, so two saves never mix. The document and the
 *  handles are not guarded: one thread at a time. No operation throws; a lack of memory answers
 *  INVALID_CONFIG.
 */
class HC_Config : public Configuration {
public:
    /** A larger file is refused unread [bytes]. */
    static constexpr std::uintmax_t MAX_FILE_SIZE = 1U << 24U;

    HC_Config();
    ~HC_Config() override;
    HC_Config(const HC_Config&) = delete;
    HC_Config& operator=(const HC_Config&) = delete;

    /** Loads `file`; once that has worked, a further call does nothing. May be repeated after a
     *  failure. INVALID_CONFIG: not a regular file that can be read and parsed, or another root
     *  (which prints a line); INVALID_PARAM: `file` is an invalid string.
     */
    void Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) override;

    /** A handle for the container whose name, or else type, is `container`. There is one handle a
     *  type: opening another container of an open type moves that handle and gives it again.
     *  INVALID_MODE: not initialized; INVALID_CONFIG: no such container.
     */
    void Open(const String& container, int& handle, RETURN_CODE_TYPE::Value& rc) override;

    /** INVALID_CONFIG: unknown handle, parameter missing or without text. */
    void Get_Size(int handle, const String& parameter, int& size,
                  RETURN_CODE_TYPE::Value& rc) override;

    /** Zeroes `buffer` and copies what fits of the text, with no NUL behind a text that fills it.
     *  INVALID_CONFIG: unknown handle; INVALID_PARAM: parameter missing or without text, null
     *  buffer or negative size.
     */
    void Read(int handle, const String& parameter, void* buffer, int buffer_size, int& bytes_read,
              RETURN_CODE_TYPE::Value& rc) override;

    /** Sets the parameter's text (up to a NUL, should there be one) and saves the file, which holds
     *  either the old document or the new one at any moment. INVALID_CONFIG: unknown handle;
     *  INVALID_PARAM: parameter missing, without text or empty, null buffer or negative size;
     *  NO_ACTION: set in memory, but not saved; the next Write that works saves it.
     */
    void Write(int handle, const String& parameter, void* buffer, int buffer_size,
               int& bytes_written, RETURN_CODE_TYPE::Value& rc) override EXCLUDES(m_mutex);

    /** Moves the handle by `offset` containers of its type: ahead for a positive offset, back for a
     *  negative one, and the other way round from the end. INVALID_CONFIG: unknown handle or
     *  whence; INVALID_PARAM: no such container, the handle stays.
     */
    void Seek(int handle, WHENCE_TYPE::Value whence, int offset,
              RETURN_CODE_TYPE::Value& rc) override;

    /** INVALID_CONFIG: unknown handle. The number is never given again. */
    void Close(int handle, RETURN_CODE_TYPE::Value& rc) override;

private:
    struct config_set;

    void load(const String& file, RETURN_CODE_TYPE::Value& rc) EXCLUDES(m_mutex);
    void open(const String& container, int& handle, RETURN_CODE_TYPE::Value& rc);
    bool save() EXCLUDES(m_mutex);
    config_set* find(int handle) const;

    utilities::Mutex m_mutex;
    std::string m_file GUARDED_BY(m_mutex);
    std::string m_schemaLocation GUARDED_BY(m_mutex);

    std::unique_ptr<tinyxml2::XMLDocument> m_document;
    std::map<int, std::unique_ptr<config_set>> m_handles;
    bool m_initialized = false;
};

}  // namespace FACE
