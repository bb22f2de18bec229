#pragma once

#include <QByteArray>

#include <stdexcept>
#include <string>

/// The text that `call` gives, or the sentence of the std::runtime_error that it throws.
template<typename Call>
QByteArray textOrError(Call&& call) {
    try {
        return QByteArray::fromStdString(call());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// The sentence of the std::runtime_error that `call` throws; empty when it throws none.
template<typename Call>
QByteArray thrownText(Call&& call) {
    return textOrError([&] {
        call();
        return std::string();
    });
}
