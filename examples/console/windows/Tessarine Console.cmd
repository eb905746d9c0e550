@"%~dp0current\bin\updater.exe" run --root "%~dp0." bin\console.exe %*
