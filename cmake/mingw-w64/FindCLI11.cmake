include(system_headers)
kv_system_headers(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
