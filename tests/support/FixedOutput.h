#pragma once

#include <array>
#include <ostream>
#include <streambuf>
#include <string>

namespace QUOR::test {

/// Collects what is written to a stream while it lives, in a block that never grows: the rest is lost.
class CFixedOutput : std::streambuf {
public:
    explicit CFixedOutput(std::ostream& stream) : m_stream(stream), m_before(stream.rdbuf(this)) { Clear(); }
    CFixedOutput(const CFixedOutput&) = delete;
    CFixedOutput& operator=(const CFixedOutput&) = delete;
    ~CFixedOutput() override { m_stream.rdbuf(m_before); }

    void Clear() { setp(m_block.data(), m_block.data() + m_block.size()); }
    std::string Text() const { return {pbase(), pptr()}; }

private:
    int_type overflow(int_type letter) override { return traits_type::not_eof(letter); }

    std::array<char, 1U << 14U> m_block{};
    std::ostream& m_stream;
    std::streambuf* m_before;
};

} // namespace QUOR::test
