#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

/// Texts that are made to cost their reader more than their size: each parser is run on each of them in two
/// sizes, of which the larger is twice the other.
namespace Larkhaven::Bench {

/// The size of the larger text where no bound of the parser cuts it earlier. Bytes, or UTF-16 units of what
/// is read as text.
inline constexpr qsizetype mebibyte = 1'048'576;

/// A text, and what is done with it: that gives the size of all that comes of it, in the unit of the text.
struct Input {
    qsizetype size = 0;
    std::function<qsizetype()> run;
};

struct Family {
    QString parser;
    QString name;
    /// Makes the text of about that size.
    std::function<Input(qsizetype size)> make;
    /// The larger size. Below `mebibyte` where a bound of the parser keeps it from reading more: the name
    /// says which.
    qsizetype largest = mebibyte;
};

/// A text of about a size, and what it is called.
template <typename Text>
struct Made {
    QString name;
    std::function<Text(qsizetype size)> make;
};

/// The families of one program.
class Families {
public:
    /// Each of the texts for this parser. `read` gives the size of all that comes of it.
    void add(const QString& parser, std::function<qsizetype(const QByteArray& text)> read,
             const std::vector<Made<QByteArray>>& texts, qsizetype largest = mebibyte);
    void addText(const QString& parser, std::function<qsizetype(const QString& text)> read,
                 const std::vector<Made<QString>>& texts, qsizetype largest = mebibyte);

    const std::vector<Family>& all() const { return m_families; }

private:
    template <typename Text>
    void addEach(const QString& parser, const std::function<qsizetype(const Text&)>& read,
                 const std::vector<Made<Text>>& texts, qsizetype largest);

    std::vector<Family> m_families;
};

/// Runs each family whose parser or name holds the program's first argument, if there is one, in a process of
/// its own on one pinned core, and prints the rows of a table in Markdown: parser, family, size of the larger
/// text, both times, their ratio, the size of what comes of the larger text for a unit of it, and what misses
/// a bound. A time is the least processor time of several runs. A family that takes too long is ended, which
/// its row says. Returns the exit code: 0, or 1 where a bound is missed.
int measure(int argc, char** argv, const Families& families);

/// The piece again and again, up to the size.
QByteArray filled(const QByteArray& piece, qsizetype size);
QString filled(const QString& piece, qsizetype size);

/// The piece again and again, whatever its name is.
Made<QByteArray> many(const QByteArray& piece);
Made<QString> many(const QString& piece);

/// Pieces that are made with numbers from 0, up to the size.
QByteArray numbered(qsizetype size, const std::function<QByteArray(int number)>& piece);
QString numberedText(qsizetype size, const std::function<QString(int number)>& piece);

} // namespace Larkhaven::Bench
