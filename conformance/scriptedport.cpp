// Port calls as lines of text, and a port that follows a script of them.
#include "conformance/scriptedport.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace
{

struct Escape {
    char letter;
    char byte;
};

const Escape escapes[] = {{'r', '\r'}, {'n', '\n'}, {'t', '\t'},
                          {'0', '\0'}, {'"', '"'},  {'\\', '\\'}};

char byteFrom(const std::string& digits)
{
    const QByteArray byte = QByteArray::fromHex(QByteArray::fromStdString(digits));
    if (byte.toHex() != QByteArray::fromStdString(digits).toLower() || byte.size() != 1)
        throw std::invalid_argument("\\x needs two hexadecimal digits");
    return byte[0];
}

} // namespace

std::string quoted(const QByteArray& bytes)
{
    std::string text = "\"";
    for (char c : bytes) {
        char hex[5];
        std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(c));
        const Escape* const escape = std::find_if(std::begin(escapes), std::end(escapes),
                                                  [&](const Escape& row) { return row.byte == c; });
        if (escape != std::end(escapes))
            text += std::string("\\") + escape->letter;
        else
            text += c >= ' ' && c <= '~' ? std::string(1, c) : hex;
    }
    return text + "\"";
}

QByteArray unquoted(const std::string& text)
{
    QByteArray bytes;
    const size_t begin = text.find('"');
    const size_t end = text.rfind('"');
    for (size_t i = begin + 1; i < end; ++i) {
        if (text[i] != '\\') {
            bytes.append(text[i]);
            continue;
        }
        if (text[++i] == 'x') {
            bytes.append(byteFrom(text.substr(i + 1, 2)));
            i += 2;
            continue;
        }
        const Escape* const escape =
            std::find_if(std::begin(escapes), std::end(escapes),
                         [&](const Escape& row) { return row.letter == text[i]; });
        if (escape == std::end(escapes))
            throw std::invalid_argument(std::string("there is no escape \\") + text[i]);
        bytes.append(escape->byte);
    }
    return bytes;
}

int ScriptedPort::read(char* buffer, int maxLength)
{
    const std::string answer = answerTo("read " + std::to_string(maxLength) + " ");
    if (answer.empty())
        return 0;
    const QByteArray bytes = unquoted(answer).left(maxLength);
    std::memcpy(buffer, bytes.constData(), static_cast<size_t>(bytes.size()));
    const size_t as = answer.find(" as ", answer.rfind('"'));
    return as == std::string::npos ? bytes.size() : std::stoi(answer.substr(as + 4));
}

int ScriptedPort::write(const char* data, int length)
{
    answerTo("write " + quoted(QByteArray(data, length)));
    return length;
}

void ScriptedPort::setOption(int option, const QVariant& value)
{
    const std::string kind = value.type() == QVariant::Int ? "" : value.typeName();
    answerTo("option " + std::to_string(option) + " " + kind + std::to_string(value.toInt()));
}

int ScriptedPort::retry()
{
    const std::string answer = answerTo("retry ");
    return answer.empty() ? 0 : std::stoi(answer);
}

int ScriptedPort::delay()
{
    const std::string answer = answerTo("delay");
    return answer.empty() ? 0 : std::stoi(answer);
}

std::string ScriptedPort::answerTo(const std::string& call)
{
    const size_t next = m_calls.size();
    const bool expected =
        next < m_script.size() && m_script[next].compare(0, call.size(), call) == 0;
    m_calls.push_back(expected ? m_script[next] : call);
    return expected ? m_script[next].substr(call.size()) : std::string();
}
