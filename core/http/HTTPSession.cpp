#include "http/HTTPSession.h"

#include "domain/MailError.h"
#include "platform/Wakeup.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <csignal>
#include <curl/curl.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unordered_map>

namespace Larkhaven {

namespace {

using Clock = std::chrono::steady_clock;

struct Deleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// The authorities that the environment adds to the system's, as other programs on OpenSSL have it.
CURLcode trustEnvironment(CURL*, void* context, void*)
{
    auto* const tls = static_cast<SSL_CTX*>(context);
    const QByteArray file = qgetenv("SSL_CERT_FILE");
    const QByteArray folder = qgetenv("SSL_CERT_DIR");
    // What can't be read adds nothing; the certificate is refused then.
    if (!file.isEmpty())
        SSL_CTX_load_verify_file(tls, file.constData());
    if (!folder.isEmpty())
        SSL_CTX_load_verify_dir(tls, folder.constData());
    return CURLE_OK;
}

bool changesNothing(const QByteArray& method)
{
    return method == "GET" || method == "HEAD";
}

/// Whether the environment names a proxy for HTTPS.
bool hasProxy()
{
    constexpr std::array variables{"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
    return std::ranges::any_of(variables,
                               [](const char* name) { return !qEnvironmentVariableIsEmpty(name); });
}

QByteArray bracketed(const QHostAddress& address)
{
    const QByteArray text = address.toString().toLatin1();
    return address.protocol() == QAbstractSocket::IPv6Protocol ? '[' + text + ']' : text;
}

HTTPError::Kind kindOf(CURLcode code)
{
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return HTTPError::Kind::badURL;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PROXY:
        return HTTPError::Kind::unreachable;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
        return HTTPError::Kind::untrusted;
    case CURLE_OPERATION_TIMEDOUT:
        return HTTPError::Kind::timedOut;
    case CURLE_WRITE_ERROR:
    case CURLE_FILESIZE_EXCEEDED:
        return HTTPError::Kind::tooLarge;
    default:
        return HTTPError::Kind::broken;
    }
}

} // namespace

/// One request under way. libcurl holds a pointer to it.
struct HTTPSession::Transfer {
    Transfer(HTTPRequest wanted, const Limits& bounds)
        : request(std::move(wanted))
        , limits(bounds)
    {}
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    void prepare();
    QString host() const;
    [[noreturn]] void fail(HTTPError::Kind kind) const;
    HTTPResponse response();

    void prepareURL();
    void prepareRoute();
    void prepareBody();
    void prepareHeaders();

    static curl_socket_t openSocket(void* transfer, curlsocktype, curl_sockaddr* address);
    static int beginSending(void* transfer, char*, char*, int, int);
    static size_t takeBody(char* bytes, size_t, size_t count, void* transfer);
    static size_t takeHeader(char* bytes, size_t, size_t count, void* transfer);
    static int noteProgress(void* transfer, curl_off_t, curl_off_t down, curl_off_t, curl_off_t up);

    const HTTPRequest request;
    const Limits limits;
    std::unique_ptr<CURLU, Deleter> url;
    std::unique_ptr<curl_slist, Deleter> headers;
    std::unique_ptr<curl_slist, Deleter> route;
    std::unique_ptr<CURL, Deleter> handle;
    QByteArray body;
    qsizetype headerBytes = 0;
    int sendings = 0;        ///< how often the request was begun on a connection
    bool hasHeaders = false; ///< the empty line behind them was read
    curl_off_t moved = 0;    ///< bytes in both directions
    Clock::time_point lastProgress = Clock::now();
    std::optional<CURLcode> result;
    Wakeup event;
};

/// What libcurl asks of the event loop.
struct HTTPSession::Multi : QObject {
    explicit Multi(int connections);
    ~Multi() override;

    void add(Transfer& transfer) { curl_multi_add_handle(handle, transfer.handle.get()); }
    void remove(Transfer& transfer) { curl_multi_remove_handle(handle, transfer.handle.get()); }

    static int watch(CURL*, curl_socket_t socket, int what, void* multi, void*);
    static int setTimer(CURLM*, long milliseconds, void* multi);
    void act(curl_socket_t socket, int events);

    struct Watch {
        QSocketNotifier* read = nullptr;
        QSocketNotifier* write = nullptr;
    };
    QSocketNotifier* makeNotifier(curl_socket_t socket, QSocketNotifier::Type type, int event);

    CURLM* handle = nullptr;
    QTimer timer;
    std::unordered_map<curl_socket_t, Watch> watches;
};

// --- Transfer

void HTTPSession::Transfer::prepareURL()
{
    url.reset(curl_url());
    // Blanks, controls and a host behind too many slashes are refused rather than guessed at; ".." is a
    // component like any other.
    constexpr QByteArrayView start("https://");
    qsizetype head = request.url.size();
    for (const HTTPRequest::Header& header : request.headers)
        head += header.first.size() + header.second.size();
    const bool isReadable =
        url && head <= limits.head &&
        start.compare(request.url.first(std::min(start.size(), request.url.size())), Qt::CaseInsensitive) ==
            0 &&
        request.url.size() > start.size() && request.url[start.size()] != '/' &&
        curl_url_set(url.get(), CURLUPART_URL, request.url.constData(), CURLU_PATH_AS_IS) == CURLUE_OK;
    if (!isReadable)
        fail(HTTPError::Kind::badURL);
    curl_easy_setopt(handle.get(), CURLOPT_CURLU, url.get());
    curl_easy_setopt(handle.get(), CURLOPT_PROTOCOLS_STR, "https");
}

QString HTTPSession::Transfer::host() const
{
    char* text = nullptr;
    if (!url || curl_url_get(url.get(), CURLUPART_HOST, &text, 0) != CURLUE_OK)
        return {};
    const QString host = QString::fromUtf8(text);
    curl_free(text);
    return host;
}

void HTTPSession::Transfer::prepareRoute()
{
    if (request.addresses.isEmpty())
        return;
    // The host as libcurl has read it: what is pinned is what it would look up.
    const QByteArray name = host().toLatin1();
    QByteArrayList addresses;
    for (const QHostAddress& address : request.addresses)
        addresses.append(bracketed(address));
    if (hasProxy()) {
        // "::": any host and port of this request. Where the environment excepts the host from its proxy, the
        // same holds for a connection of our own.
        route.reset(curl_slist_append(nullptr, ("::" + addresses.first() + ':').constData()));
        curl_easy_setopt(handle.get(), CURLOPT_CONNECT_TO, route.get());
        return;
    }
    char* port = nullptr;
    if (curl_url_get(url.get(), CURLUPART_PORT, &port, CURLU_DEFAULT_PORT) != CURLUE_OK)
        fail(HTTPError::Kind::badURL);
    const QByteArray line = name + ':' + port + ':' + addresses.join(',');
    curl_free(port);
    // An address in place of a name needs no look-up.
    if (!name.startsWith('['))
        route.reset(curl_slist_append(nullptr, line.constData()));
    curl_easy_setopt(handle.get(), CURLOPT_RESOLVE, route.get());
    curl_easy_setopt(handle.get(), CURLOPT_OPENSOCKETFUNCTION, openSocket);
    curl_easy_setopt(handle.get(), CURLOPT_OPENSOCKETDATA, this);
}

void HTTPSession::Transfer::prepareBody()
{
    const bool sendsBody = request.body || !changesNothing(request.method);
    if (request.method == "HEAD")
        curl_easy_setopt(handle.get(), CURLOPT_NOBODY, 1L);
    if (sendsBody && request.method != "DELETE") {
        const QByteArray& sent = request.body ? *request.body : body;
        curl_easy_setopt(handle.get(), CURLOPT_POST, 1L);
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(sent.size()));
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, sent.constData());
    }
    curl_easy_setopt(handle.get(), CURLOPT_CUSTOMREQUEST, request.method.constData());
}

void HTTPSession::Transfer::prepareHeaders()
{
    const auto append = [this](const QByteArray& line) {
        curl_slist* const longer = curl_slist_append(headers.get(), line.constData());
        if (!longer)
            throw std::bad_alloc();
        static_cast<void>(headers.release());
        headers.reset(longer);
    };
    bool hasType = false;
    for (const HTTPRequest::Header& header : request.headers) {
        const bool endsLine = std::ranges::any_of(header.first + header.second, [](char character) {
            return character == '\r' || character == '\n' || character == '\0';
        });
        if (endsLine)
            fail(HTTPError::Kind::badURL);
        hasType = hasType || header.first.compare("Content-Type", Qt::CaseInsensitive) == 0;
        append(header.first + ": " + header.second);
    }
    // libcurl would add a type of its own, and ask for leave before it sends a large body.
    if (!hasType)
        append("Content-Type:");
    append("Expect:");
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
}

void HTTPSession::Transfer::prepare()
{
    handle.reset(curl_easy_init());
    if (!handle)
        throw std::bad_alloc();
    CURL* const curl = handle.get();
    prepareURL();
    prepareRoute();
    prepareBody();
    prepareHeaders();
    curl_easy_setopt(curl, CURLOPT_PRIVATE, this);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "Larkhaven");
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, trustEnvironment);
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, changesNothing(request.method) ? 0L : 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.whole.count()));
    curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.body));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, beginSending);
    curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
    // A look-up that nobody waits for any more must not be waited for.
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
    // Only a file of authorities is kept between connections.
    curl_easy_setopt(curl, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, noteProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
}

curl_socket_t HTTPSession::Transfer::openSocket(void* transfer, curlsocktype, curl_sockaddr* address)
{
    // Whatever has led here, nothing goes to another address.
    const auto& self = *static_cast<Transfer*>(transfer);
    if (!self.request.addresses.contains(QHostAddress(&address->addr)))
        return CURL_SOCKET_BAD;
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int HTTPSession::Transfer::beginSending(void* transfer, char*, char*, int, int)
{
    auto& self = *static_cast<Transfer*>(transfer);
    const bool mayBegin = self.sendings == 0 || changesNothing(self.request.method);
    ++self.sendings;
    return mayBegin ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

size_t HTTPSession::Transfer::takeBody(char* bytes, size_t, size_t count, void* transfer)
{
    auto& self = *static_cast<Transfer*>(transfer);
    self.lastProgress = Clock::now();
    const auto size = static_cast<qsizetype>(count);
    // Anything but the whole count ends the transfer.
    if (size > std::min(self.limits.body, self.request.mostBody) - self.body.size())
        return 0;
    self.body.append(bytes, size);
    if (!self.request.isWanted)
        return count;
    long status = 0;
    curl_easy_getinfo(self.handle.get(), CURLINFO_RESPONSE_CODE, &status);
    return self.request.isWanted(static_cast<int>(status), self.body) ? count : 0;
}

size_t HTTPSession::Transfer::takeHeader(char* bytes, size_t, size_t count, void* transfer)
{
    auto& self = *static_cast<Transfer*>(transfer);
    self.lastProgress = Clock::now();
    const QByteArrayView line(bytes, static_cast<qsizetype>(count));
    // An interim response (1xx) has headers of its own; trailers come behind the empty line.
    if (line.startsWith("HTTP/"))
        self.hasHeaders = false;
    self.hasHeaders = self.hasHeaders || line.trimmed().isEmpty();
    self.headerBytes += static_cast<qsizetype>(count);
    return self.headerBytes > self.limits.headers ? 0 : count;
}

int HTTPSession::Transfer::noteProgress(void* transfer, curl_off_t, curl_off_t down, curl_off_t,
                                        curl_off_t up)
{
    auto& self = *static_cast<Transfer*>(transfer);
    if (down + up != self.moved) {
        self.moved = down + up;
        self.lastProgress = Clock::now();
    }
    return 0;
}

HTTPResponse HTTPSession::Transfer::response()
{
    if (*result != CURLE_OK)
        fail(kindOf(*result));
    // libcurl takes headers that end with the connection for all of them.
    if (!hasHeaders)
        fail(HTTPError::Kind::broken);
    long status = 0;
    const char* resolved = nullptr;
    curl_header* written = nullptr;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(handle.get(), CURLINFO_REDIRECT_URL, &resolved);
    QByteArray location(resolved);
    // A scheme counts as it is written; libcurl gives it in lower case.
    if (curl_easy_header(handle.get(), "Location", 0, CURLH_HEADER, -1, &written) == CURLHE_OK) {
        const QByteArrayView start =
            QByteArrayView(written->value)
                .first(std::min<qsizetype>(6, static_cast<qsizetype>(qstrlen(written->value))));
        if (start.compare("https:", Qt::CaseInsensitive) == 0)
            location.replace(0, start.size(), start);
    }
    return {static_cast<int>(status), std::move(body), location};
}

void HTTPSession::Transfer::fail(HTTPError::Kind kind) const
{
    // Nobody must believe that something was done where nothing was said.
    const bool isOfConnecting =
        sendings == 0 && (kind == HTTPError::Kind::timedOut || kind == HTTPError::Kind::broken);
    throw HTTPError(isOfConnecting ? HTTPError::Kind::unreachable : kind, host());
}

// --- Multi

HTTPSession::Multi::Multi(int connections)
{
    // Once in a process.
    static const CURLcode initialized = curl_global_init(CURL_GLOBAL_DEFAULT);
    handle = initialized == CURLE_OK ? curl_multi_init() : nullptr;
    if (!handle)
        throw std::bad_alloc();
    // A write to a connection that has ended is a failure of that write, not of the process.
    std::signal(SIGPIPE, SIG_IGN);
    curl_multi_setopt(handle, CURLMOPT_SOCKETFUNCTION, watch);
    curl_multi_setopt(handle, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(handle, CURLMOPT_TIMERFUNCTION, setTimer);
    curl_multi_setopt(handle, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(handle, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(connections));
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

HTTPSession::Multi::~Multi()
{
    curl_multi_setopt(handle, CURLMOPT_SOCKETFUNCTION, nullptr);
    curl_multi_setopt(handle, CURLMOPT_TIMERFUNCTION, nullptr);
    curl_multi_cleanup(handle);
}

QSocketNotifier* HTTPSession::Multi::makeNotifier(curl_socket_t socket, QSocketNotifier::Type type, int event)
{
    auto* const notifier = new QSocketNotifier(socket, type, this);
    QObject::connect(notifier, &QSocketNotifier::activated, this,
                     [this, socket, event] { act(socket, event); });
    return notifier;
}

int HTTPSession::Multi::watch(CURL*, curl_socket_t socket, int what, void* multi, void*)
{
    auto& self = *static_cast<Multi*>(multi);
    const auto drop = [](QSocketNotifier* notifier) {
        if (!notifier)
            return;
        // It may be the one that is being called.
        notifier->setEnabled(false);
        notifier->deleteLater();
    };
    Watch& old = self.watches[socket];
    if (what == CURL_POLL_REMOVE) {
        drop(old.read);
        drop(old.write);
        self.watches.erase(socket);
        return 0;
    }
    const auto follow = [&](QSocketNotifier*& notifier, bool isWanted, QSocketNotifier::Type type,
                            int event) {
        if (isWanted && !notifier)
            notifier = self.makeNotifier(socket, type, event);
        if (notifier)
            notifier->setEnabled(isWanted);
    };
    follow(old.read, (what & CURL_POLL_IN) != 0, QSocketNotifier::Read, CURL_CSELECT_IN);
    follow(old.write, (what & CURL_POLL_OUT) != 0, QSocketNotifier::Write, CURL_CSELECT_OUT);
    return 0;
}

int HTTPSession::Multi::setTimer(CURLM*, long milliseconds, void* multi)
{
    QTimer& timer = static_cast<Multi*>(multi)->timer;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(static_cast<int>(std::min<long>(milliseconds, std::numeric_limits<int>::max())));
    return 0;
}

void HTTPSession::Multi::act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(handle, socket, events, &running);
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(handle, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        void* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        auto& ended = *static_cast<Transfer*>(transfer);
        ended.result = message->data.result;
        ended.event.notify();
    }
}

// --- HTTPSession

HTTPSession::HTTPSession(Limits limits, QObject* parent)
    : QObject(parent)
    , m_multi(std::make_unique<Multi>(limits.connections))
    , m_limits(limits)
{}

HTTPSession::~HTTPSession() = default;

HTTPSession& HTTPSession::shared()
{
    static QPointer<HTTPSession> session;
    if (!session)
        session = new HTTPSession(Limits(), QCoreApplication::instance());
    return *session;
}

Task<HTTPResponse> HTTPSession::perform(HTTPRequest request, std::stop_token stop)
{
    Transfer transfer(std::move(request), m_limits);
    transfer.prepare();
    const std::stop_callback onStop(stop, [&transfer] { transfer.event.notify(); });
    m_multi->add(transfer);
    const std::chrono::milliseconds timeout = transfer.request.timeout;
    auto left = timeout;
    while (!transfer.result && !stop.stop_requested() && left.count() > 0) {
        co_await transfer.event.wait(left);
        const auto idle =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - transfer.lastProgress);
        left = timeout - idle;
    }
    m_multi->remove(transfer);
    if (transfer.result)
        co_return transfer.response();
    if (stop.stop_requested())
        throw MailError::cancelled();
    transfer.fail(HTTPError::Kind::timedOut);
}

} // namespace Larkhaven
