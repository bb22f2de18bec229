#pragma once

#include <QByteArray>

#include <stdexcept>

/// The sentence of the std::runtime_error that `call` throws; empty when it throws none.
template<typename Call>
QByteArray thrownText(Call&& call) {
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}
