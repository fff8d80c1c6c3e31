#include "scenegraph/io/SDBDataReader.h"

#include "scenegraph/io/detail/TokenReader.h"

#include <cstdlib>
#include <cstring>

/// SDBDataReader's lines, words and numbers. Without a stream there are none.
namespace tsg
{

int SDBDataReader::ReadLine(char result[256])
{
    result[0] = '\0';
    return this->Stream != nullptr && detail::readLine(*this->Stream, result);
}

int SDBDataReader::ReadString(char result[256])
{
    result[0] = '\0';
    return this->Stream != nullptr && detail::readWord(*this->Stream, result);
}

template <class T>
int SDBDataReader::ReadNumber(T* result)
{
    *result = T();
    return this->Stream != nullptr && detail::NumberReader(*this->Stream).read(*result);
}

int SDBDataReader::Read(char* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(unsigned char* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(short* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(unsigned short* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(int* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(unsigned int* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(long* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(unsigned long* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(float* result)
{
    return this->ReadNumber(result);
}

int SDBDataReader::Read(double* result)
{
    return this->ReadNumber(result);
}

char* SDBDataReader::LowerCase(char* text, std::size_t length)
{
    detail::lowerCase(text, length);
    return text;
}

void SDBDataReader::DecodeArrayName(char* result, const char* name)
{
    const char* const end = name + std::strlen(name);
    const char* const full = result + detail::TOKEN_BYTES - 1;
    while (name != end && result != full)
    {
        if (*name != '%')
        {
            *result++ = *name++;
        }
        else if (end - name > 2)
        {
            const char digits[] = {name[1], name[2], '\0'};
            *result++ = static_cast<char>(std::strtoul(digits, nullptr, 16));
            name += 3;
        }
        else
        {
            ++name;
        }
    }
    *result = '\0';
}

bool SDBDataReader::ReadName(char name[256])
{
    if (!this->ReadString(name))
    {
        return false;
    }
    DecodeArrayName(name, name);
    return true;
}

} // namespace tsg
