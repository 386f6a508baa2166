@echo off
rem Plays on device 0, which is Windows' own synthesizer unless something else was installed first.
rem Another one: play.cmd 1, or any arguments of quenvarel.exe.
if "%~1"=="" (
  "%~dp0quenvarel.exe" 0
) else (
  "%~dp0quenvarel.exe" %*
)
if %errorlevel%==0 goto :eof
echo.
echo The device could not be opened. To play on one of those above: play.cmd and its number.
pause
exit /b 1
