// The part of Asio that is no template, compiled once for the whole program.
#include <boost/asio/impl/src.hpp>
