#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http.h"
#include "image_list.h"
#include "present/description.h"

/// A file to look through.
struct ViewInput {
    std::string path;
    std::string name;  ///< as it is shown
    /// It lies in a folder that was given: left out without a word where it is no image.
    bool isFound = false;
};

struct ViewServiceOptions {
    /// The configuration is in use, and the presentation states are read.
    PresentationOptions presentation;
    /// Where the page may write; empty for nowhere.
    std::string saveFolder;
};

/// What the page can ask: docs/view.md. It does not know how it is asked.
///
/// For one thread: files are decoded in processes of their own, and a fork in a program with more threads may
/// leave the child waiting for a lock for ever.
class ViewService {
public:
    ViewService(std::vector<ViewInput> inputs, ViewServiceOptions options);
    ViewService(const ViewService&) = delete;
    ViewService& operator=(const ViewService&) = delete;

    /// 128 random bits in hexadecimal digits.
    const std::string& Token() const { return m_Token; }
    /// Takes requests for this port from here on.
    void Start(int port);
    /// Reads the next file for the list or, once all are read, makes the next thumbnail. Returns whether there
    /// is more to do.
    bool ReadNext();
    /// What takes no image: the page itself, and refusals of those who may not ask. Any number of threads may
    /// ask at once.
    std::optional<WebReply> AnswerAtDoor(const WebRequest& request) const;
    /// Never throws.
    WebReply Answer(const WebRequest& request);

private:
    /// Which presentation state is applied: that of the program's options, none, or one of m_States.
    enum StateChoice : int { kProgramsState = -2, kNoState = -1 };
    struct Opened {
        std::size_t id;
        int frame;
        int state;
        std::shared_ptr<ImageSource> source;
    };

    WebReply answer_api(const std::string& name, const WebRequest& request);
    Json progress() const;
    WebReply list();
    WebReply thumb(const WebRequest& request);
    WebReply colour_maps();
    WebReply open(const Json& body);
    WebReply pixels(const WebRequest& request);
    WebReply table(const Json& body);
    WebReply layers(const Json& body);
    WebReply explain(const Json& body);
    WebReply histogram(const WebRequest& request);
    WebReply save(const Json& body);

    const ListedImage& image_of(std::size_t id);
    const std::string& thumb_of(std::size_t id);
    int checked_state(int state) const;
    std::shared_ptr<const PresentationStates> states_for(int state) const;
    Json states_of(const OpenedImage& image) const;
    Json number_of_state(const OpenedImage& image) const;
    std::shared_ptr<ImageSource> source_of(std::size_t id, int frame, int state);
    std::unique_ptr<OpenedImage> open_image(const Json& body, PresentationOptions* used = nullptr);
    std::shared_ptr<ImageSource> source_of(const WebRequest& request);
    std::string free_name(const std::string& start, const std::string& end) const;

    const std::vector<ViewInput> m_Inputs;
    const ViewServiceOptions m_Options;
    const std::string m_Token;
    std::vector<std::string> m_Hosts;
    std::vector<ListedImage> m_Images;
    /// Those of the options, and those among the inputs; their numbers stay.
    std::vector<PresentationState> m_States;
    /// By image; empty where it cannot be drawn.
    std::map<std::size_t, std::string> m_Thumbs;
    std::size_t m_ThumbBytes = 0;
    /// The images to make thumbnails of in the background, and how many of them are done.
    std::vector<std::size_t> m_ToDraw;
    std::size_t m_Drawn = 0;
    std::deque<Opened> m_Opened;
};
