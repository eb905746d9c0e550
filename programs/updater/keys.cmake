# Who may publish: Ed25519 public keys as "updater generate-key" prints them, the one in use and its successor (or its
# predecessor), so that a key can be changed without leaving anybody behind. Without a key no update is trusted.
set(KOV_UPDATE_PUBLIC_KEY "" CACHE STRING "Public key that signs updates, 64 hexadecimal digits")
set(KOV_UPDATE_PUBLIC_KEY_NEXT "" CACHE STRING "A second public key that signs updates, 64 hexadecimal digits")

# Everybody has their private halves (programs/updater/sample-keys).
set(sample_keys
    25dd5c834dcf964c59bb73ea49a33d8ce4ba3285c7eab82b7ee826cae5e128b9
    10d3b033e13eb65abf6388fb1559361844dcad6dd359fc9b5177de2a190f4340)
foreach(name KOV_UPDATE_PUBLIC_KEY KOV_UPDATE_PUBLIC_KEY_NEXT)
    string(TOLOWER "${${name}}" key)
    string(LENGTH "${key}" length)
    if(NOT key STREQUAL "" AND NOT (key MATCHES "^[0-9a-f]+$" AND length EQUAL 64))
        message(FATAL_ERROR "${name} is not a public key: it has to be empty or 64 hexadecimal digits.")
    endif()
    if(NOT key STREQUAL "" AND sample_keys MATCHES "${key}" AND NOT CMAKE_BUILD_TYPE MATCHES "^(Debug|RelWithDebInfo)$")
        message(FATAL_ERROR "${name} is a sample key, which everybody can sign with: a build for users must not trust it.")
    endif()
endforeach()
